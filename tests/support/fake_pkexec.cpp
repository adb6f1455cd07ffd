// A stand-in for pkexec, beside the fake hidutil on PATH, that plays the permanent keymap's helper
// without root and without touching udev. Its argument vector (the helper's path first) is
// appended to "$FAKE_HIDUTIL_DIR/calls" after the word "pkexec", as the fake hidutil records its
// own, so that one file shows the order of both. What it does is read from
// "$FAKE_HIDUTIL_DIR/pkexec-mode":
//   (no file)  as the helper: "make" says changed, waits for keep or the end of its input, and says
//              kept or reverted; "remove" says removed
//   fail       the helper's message on standard error, and its failure status
//   dismiss    pkexec's own status for a password dialog that was closed
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "permanent/PermanentCommand.h"

namespace command = keyvane::permanent;

// As the fake hidutil writes arguments, for FakeHidutil::calls to read back.
std::string escaped(const std::string& argument) {
    std::string text;
    for (char c : argument)
        text += c == '\\' ? "\\\\" : c == '\t' ? "\\t" : c == '\n' ? "\\n" : std::string(1, c);
    return text;
}

int main(int argc, char** argv) {
    const char* dir = std::getenv("FAKE_HIDUTIL_DIR");
    if (!dir) {
        std::cerr << "fake pkexec: FAKE_HIDUTIL_DIR is not set" << std::endl;
        return command::exitNotAuthorized;
    }
    {
        std::ofstream calls(std::string(dir) + "/calls", std::ios::app);
        calls << "pkexec";
        for (int i = 1; i < argc; ++i)
            calls << "\t" << escaped(argv[i]);
        calls << "\n";
    }
    std::string mode;
    std::ifstream(std::string(dir) + "/pkexec-mode") >> mode;
    if (mode == "dismiss")
        return command::exitDismissed;
    if (mode == "fail") {
        std::cerr << "keyvane-permanent: /etc/udev/hwdb.d is read-only" << std::endl;
        return command::exitFailed;
    }
    const std::string verb = argc > 2 ? argv[2] : "";
    if (verb == command::removeVerb) {
        std::cout << command::removedLine << std::endl;
        return command::exitKept;
    }
    if (verb != command::makeVerb)
        return command::exitUsage;
    std::cout << command::changedLine << std::endl;
    std::string answer;
    if (std::getline(std::cin, answer) && answer == command::keepLine) {
        std::cout << command::keptLine << std::endl;
        return command::exitKept;
    }
    std::cout << command::revertedLine << std::endl;
    return command::exitReverted;
}
