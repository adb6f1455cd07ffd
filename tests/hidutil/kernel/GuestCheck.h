#pragma once

// What the checks that run inside the virtual machine share: each check prints a marker line on
// the console, which the host reads, and the last line says whether all passed; every program a
// check runs is printed there too, with what it said.

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace guest {

// Prints the verdict on what; ok.
bool check(bool ok, const std::string& what);
// "<doneMarker>ok" or "<doneMarker>failed"; the exit status to end with.
int done(const char* doneMarker);

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& content);

// Polls until done() holds, at most for limit; whether it did. What the kernel, udev or the bus
// do in the background shows only this way.
bool waitFor(const std::function<bool()>& done,
             std::chrono::milliseconds limit = std::chrono::seconds(15));

struct Result {
    int status = -1;  // the exit status, or minus the signal that ended it
    std::string out, err;
    bool operator==(const Result&) const = default;
    bool says(const std::string& text) const;  // on either output
    // hidutil's answer to a list it installed: exit status 0 and the list echoed.
    bool installed() const {
        return status == 0 && out.find("UserKeyMapping") != std::string::npos;
    }
};

// A program started as a user starts it: any user but root with their own groups and nothing of
// root's environment but PATH and their HOME, root with this process's; `environment` adds
// NAME=VALUE entries. One still running after two minutes is killed, so that a call that never
// returns fails its check instead of the whole test.
class Child {
  public:
    explicit Child(const std::vector<std::string>& args, uid_t uid = 0,
                   const std::vector<std::string>& environment = {});
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // The next line on its standard output; empty at its end.
    std::string line();
    void answer(const std::string& text);
    void closeInput();
    // Closes its input, reads the rest of its output and waits for its end.
    Result finish();

  private:
    std::string command_;  // for the console
    pid_t pid_ = -1;
    int in_ = -1, out_ = -1, err_ = -1;
    std::string output_;
};

inline Result run(const std::vector<std::string>& args, uid_t uid = 0,
                  const std::vector<std::string>& environment = {}) {
    return Child(args, uid, environment).finish();
}

}  // namespace guest
