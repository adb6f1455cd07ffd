// keyvane-permanent: writes or removes Keyvane's permanent keymap, as root, for Keyvane, which runs
// it through pkexec (see PermanentCommand.h for how the two talk).
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "hidutil/EvdevDevices.h"
#include "permanent/Messages.h"
#include "permanent/PermanentCommand.h"
#include "permanent/PermanentKeymap.h"

namespace {

using namespace keyvane::permanent;

// One change of the permanent keymap at a time, whoever asks.
constexpr const char* lockFile = "/run/keyvane-permanent.lock";
// The caller counts the user's seconds; this only ends a wait that nobody will answer.
constexpr int graceSeconds = 2;

// A closed terminal or a kill while the user is asked is no answer.
void stopWaiting(int) {}

void catchEndings() {
    struct sigaction action {};
    action.sa_handler = stopWaiting;
    for (int signal : {SIGHUP, SIGINT, SIGTERM, SIGPIPE})
        sigaction(signal, &action, nullptr);
}

// Whether "keep" arrives on standard input before the time is up.
bool keepAnswered() {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(countdownSeconds + graceSeconds);
    std::string line;
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        pollfd input{STDIN_FILENO, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&input, 1, static_cast<int>(left.count())) <= 0)
            return false;
        char c = 0;
        if (::read(STDIN_FILENO, &c, 1) != 1)
            return false;
        if (c == '\n')
            return line == keepLine;
        line += c;
    }
}

bool takeLock() {
    const int fd = ::open(lockFile, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    return fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) == 0;  // held until the process ends
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    const bool make = args.size() >= 2 && args[0] == makeVerb &&
                      (args.size() == 2 || (args.size() == 4 && args[2] == matchingOption));
    const bool remove = args.size() == 1 && args[0] == removeVerb;
    if (!make && !remove) {
        std::cerr << text::usage;
        return exitUsage;
    }
    if (::geteuid() != 0) {
        std::cerr << text::needsRoot;
        return exitFailed;
    }
    ::umask(022);
    if (!takeLock()) {
        std::cerr << text::busy;
        return exitFailed;
    }
    catchEndings();
    keyvane::hidutil::EvdevDeviceSource devices;
    const HwdbTools tools;
    PermanentKeymap keymap(devices, tools, hwdbFile, std::cout, std::cerr);
    if (remove)
        return keymap.remove();
    const std::optional<std::string> matching =
        args.size() == 4 ? std::optional<std::string>(args[3]) : std::nullopt;
    return keymap.make(args[1], matching, keepAnswered);
}
