#include "tests/support/FakeHidutil.h"

#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace keyvane::testing {
namespace {

std::vector<std::string> splitCall(const std::string& line) {
    std::vector<std::string> arguments(1);
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\t') {
            arguments.emplace_back();
        } else if (line[i] == '\\' && i + 1 < line.size()) {
            char next = line[++i];
            arguments.back() += next == 't' ? '\t' : next == 'n' ? '\n' : next;
        } else {
            arguments.back() += line[i];
        }
    }
    if (line.empty())
        arguments.clear();
    return arguments;
}

}  // namespace

FakeHidutil::FakeHidutil() : dir_(std::filesystem::path(::getenv("HOME")) / "fake-hidutil") {
    std::filesystem::remove_all(dir_);  // no calls or outputs left from an earlier fake
    std::filesystem::create_directories(dir_);
    const char* path = ::getenv("PATH");
    savedPath_ = path ? path : "";
    ::setenv("PATH", (std::string(FAKE_HIDUTIL_BIN_DIR) + ":" + savedPath_).c_str(), 1);
    ::setenv("FAKE_HIDUTIL_DIR", dir_.c_str(), 1);
}

FakeHidutil::~FakeHidutil() {
    ::setenv("PATH", savedPath_.c_str(), 1);
    ::unsetenv("FAKE_HIDUTIL_DIR");
}

void FakeHidutil::setOutput(const std::string& subcommand, const std::string& output, int run) {
    const std::string name = "output-" + subcommand + (run ? "." + std::to_string(run) : "");
    std::ofstream(dir_ / name) << output;
}

void FakeHidutil::leaveStatus(const std::string& subcommand, const std::string& json, int run) {
    std::ofstream(dir_ / ("status-" + subcommand + "." + std::to_string(run))) << json;
}

void FakeHidutil::setExitStatus(const std::string& subcommand, int status) {
    std::ofstream(dir_ / ("exit-" + subcommand)) << status;
}

void FakeHidutil::setPkexecMode(const std::string& mode) {
    std::ofstream(dir_ / "pkexec-mode") << mode;
}

std::vector<std::vector<std::string>> FakeHidutil::calls() const {
    std::vector<std::vector<std::string>> result;
    std::ifstream in(dir_ / "calls");
    for (std::string line; std::getline(in, line);)
        result.push_back(splitCall(line));
    // Keyvane lists the keyboards while it installs, so where that call lands among the others
    // is up to the scheduler: it is put first, ahead of everything else in its order.
    std::stable_partition(result.begin(), result.end(),
                          [](const auto& call) { return !call.empty() && call[0] == "list"; });
    return result;
}

void FakeHidutil::clearCalls() {
    std::filesystem::remove(dir_ / "calls");
}

std::vector<std::string> FakeHidutil::clearingCall() {
    return installCall(R"({"UserKeyMapping" : []})");
}

std::vector<std::string> FakeHidutil::installCall(const std::string& property) {
    return {"property", "--set", property};
}

}  // namespace keyvane::testing
