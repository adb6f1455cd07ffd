// A stand-in for hidutil that tests put first on PATH. Every argument vector it receives is
// appended to "$FAKE_HIDUTIL_DIR/calls", one line per run, arguments separated by tabs and escaped
// (\\, \t, \n). The n-th run with a first argument (counted in that file) prints
// "$FAKE_HIDUTIL_DIR/output-<first argument>.<n>", or else "output-<first argument>", when that
// file exists; without either, "property" answers like a successful installation and everything
// else prints nothing. Where "$FAKE_HIDUTIL_DIR/status-<first argument>.<n>" exists, the n-th run
// also leaves it as the status file, replacing that whole as hidutil does, once: the counts start
// again when the calls are cleared.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "keys/HidutilContract.h"

namespace {

std::string escaped(const std::string& argument) {
    std::string text;
    for (char c : argument) {
        if (c == '\\')
            text += "\\\\";
        else if (c == '\t')
            text += "\\t";
        else if (c == '\n')
            text += "\\n";
        else
            text += c;
    }
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    const char* dir = std::getenv("FAKE_HIDUTIL_DIR");
    if (!dir) {
        std::cerr << "fake hidutil: FAKE_HIDUTIL_DIR is not set" << std::endl;
        return 2;
    }
    {
        // One write of the whole line: runs that overlap must not interleave their lines.
        std::string line;
        for (int i = 1; i < argc; ++i)
            line += (i > 1 ? "\t" : "") + escaped(argv[i]);
        line += "\n";
        const int calls = ::open((std::string(dir) + "/calls").c_str(),
                                 O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (calls < 0 || ::write(calls, line.data(), line.size()) != ssize_t(line.size())) {
            std::cerr << "fake hidutil: cannot record the call" << std::endl;
            return 2;
        }
        ::close(calls);
    }
    const std::string subcommand = argc > 1 ? argv[1] : "";
    int run = 0;
    std::ifstream calls(std::string(dir) + "/calls");
    for (std::string line; std::getline(calls, line);)
        run += line.substr(0, line.find('\t')) == escaped(subcommand);
    const std::string file = std::string(dir) + "/output-" + subcommand;
    std::ifstream output(file + "." + std::to_string(run));
    if (!output)
        output.open(file);
    if (output) {
        std::cout << output.rdbuf();
    } else if (subcommand == "property") {
        std::cout << "UserKeyMapping:(\n)\n";
    }
    const auto statusFile = keyvane::contract::statusFile();
    const std::string left = std::string(dir) + "/status-" + subcommand + "." + std::to_string(run);
    if (std::ifstream status(left); status && statusFile) {
        std::filesystem::create_directories(statusFile->parent_path());
        const auto written = std::filesystem::path(*statusFile) += ".new";
        std::ofstream(written) << status.rdbuf();
        std::filesystem::rename(written, *statusFile);
        std::filesystem::remove(left);
    }
    int exitStatus = 0;
    std::ifstream(std::string(dir) + "/exit-" + subcommand) >> exitStatus;
    return exitStatus;
}
