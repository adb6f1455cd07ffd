#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace keyvane::testing {

// Puts the recording fake hidutil first on PATH for the life of the object, and the fake pkexec
// beside it, which plays the permanent keymap's helper and records its calls among hidutil's.
class FakeHidutil {
  public:
    FakeHidutil();
    ~FakeHidutil();
    FakeHidutil(const FakeHidutil&) = delete;
    FakeHidutil& operator=(const FakeHidutil&) = delete;

    // What the fake prints when run with this first argument ("property", "list"); with run, only
    // the run-th time (from 1, counted since the calls were last cleared).
    void setOutput(const std::string& subcommand, const std::string& output, int run = 0);
    // What the run-th run with this first argument leaves as hidutil's status file.
    void leaveStatus(const std::string& subcommand, const std::string& json, int run);
    // How the fake ends when run with this first argument (0 unless told).
    void setExitStatus(const std::string& subcommand, int status);
    // How the fake pkexec answers: "" plays the helper, "fail" fails with a message, "dismiss" ends
    // as a closed password dialog does.
    void setPkexecMode(const std::string& mode);
    // Every argument vector received so far, oldest first but the keyboard listings first of all;
    // pkexec's begin with "pkexec".
    std::vector<std::vector<std::string>> calls() const;
    void clearCalls();

    // The argument vectors of the clearing command and of an installation.
    static std::vector<std::string> clearingCall();
    static std::vector<std::string> installCall(const std::string& property);

  private:
    std::filesystem::path dir_;
    std::string savedPath_;
};

}  // namespace keyvane::testing
