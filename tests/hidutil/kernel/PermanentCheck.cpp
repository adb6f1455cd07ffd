// Runs inside the virtual machine as root, where systemd-udevd applies udev's hwdb and the system
// bus and polkitd run: makes lists permanent with keyvane-permanent as Keyvane runs it, and reads
// every result back from the kernel, on uhid keyboards and on qemu's AT keyboard.
//   permanent-check HELPER HIDUTIL PKEXEC
#include <fcntl.h>
#include <grp.h>
#include <linux/input.h>
#include <poll.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "GuestCheck.h"
#include "UhidKeyboard.h"

namespace {

using guest::check;

constexpr const char* doneMarker = "KEYVANE-PERMANENT-CHECK DONE ";
constexpr const char* hwdbFile = "/etc/udev/hwdb.d/70-keyvane.hwdb";
constexpr const char* systemdHwdb = "/usr/bin/systemd-hwdb";
constexpr const char* atName = "AT Translated Set 2 keyboard";
constexpr unsigned productA = 0x7771, productB = 0x7772;
constexpr unsigned capsLockUsage = 0x70039, atCapsLock = 0x3a;
constexpr uid_t refusedUser = 1001;  // polkit leaves bob to the actions' defaults

std::string helper, hidutil, pkexec;

// keyvane-permanent (or pkexec running it) with a pipe on each side, as Keyvane runs it.
struct Run {
    pid_t pid = -1;
    int in = -1, out = -1;
    std::string printed;

    Run(const std::vector<std::string>& args, uid_t uid = 0) {
        int toChild[2], fromChild[2];
        if (::pipe2(toChild, O_CLOEXEC) != 0 || ::pipe2(fromChild, O_CLOEXEC) != 0)
            return;
        pid = ::fork();
        if (pid == 0) {
            ::dup2(toChild[0], 0);
            ::dup2(fromChild[1], 1);
            const passwd* user = ::getpwuid(uid);
            if (uid != 0 && (!user || ::initgroups(user->pw_name, user->pw_gid) != 0 ||
                             ::setgid(user->pw_gid) != 0 || ::setuid(uid) != 0))
                ::_exit(125);
            std::vector<char*> argv;
            for (const std::string& arg : args)
                argv.push_back(const_cast<char*>(arg.c_str()));
            argv.push_back(nullptr);
            ::alarm(120);
            ::execv(argv[0], argv.data());
            ::_exit(124);
        }
        ::close(toChild[0]);
        ::close(fromChild[1]);
        in = toChild[1];
        out = fromChild[0];
    }

    // The next line on its standard output; empty at its end.
    std::string line() {
        std::string text;
        char c = 0;
        while (::read(out, &c, 1) == 1 && c != '\n')
            text += c;
        printed += text + "\n";
        return text;
    }
    void answer(const std::string& text) {
        if (::write(in, text.data(), text.size()) < 0)
            std::perror("answer");
    }
    void closeInput() {
        if (in >= 0)
            ::close(in);
        in = -1;
    }
    int status() {
        closeInput();
        while (!line().empty()) {
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        ::close(out);
        std::printf("%s[exit %d]\n", printed.c_str(), WIFEXITED(status) ? WEXITSTATUS(status) : -1);
        std::fflush(stdout);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

std::vector<std::string> make(const std::string& list, const char* matching = nullptr) {
    std::vector<std::string> args{helper, "make", list};
    if (matching)
        args.insert(args.end(), {"--matching", matching});
    return args;
}

// Made and kept: what Keyvane does when the user keeps the keys.
int makeAndKeep(const std::vector<std::string>& args) {
    Run run(args);
    const bool changed = run.line() == "changed";
    run.answer("keep\n");
    const int status = run.status();
    return changed ? status : -1;
}

// hidutil as the session's, with records of its own.
const std::string inProcess = "KEYVANE_HIDUTIL_IN_PROCESS=1 XDG_STATE_HOME=/run/permanent-state ";

int hidutilInProcess(const std::string& list) {
    return std::system((inProcess + hidutil + " property --set '" + list + "' >/dev/null").c_str());
}

std::string hidutilStatus() {
    FILE* status = ::popen((inProcess + hidutil + " status").c_str(), "r");
    std::string out;
    char buffer[4096];
    while (status && std::fgets(buffer, sizeof buffer, status))
        out += buffer;
    if (status)
        ::pclose(status);
    return out;
}

struct Keyboards {
    std::string a, b, at;
    // The Caps Lock key of each: A's, B's, the AT keyboard's.
    std::vector<int> capsLock() const {
        return {keycodeOf(a, capsLockUsage), keycodeOf(b, capsLockUsage),
                keycodeOf(at, atCapsLock)};
    }
};
using Codes = std::vector<int>;

// udev applies hwdb to a new keyboard once it has handled it, which "udevadm settle" does not wait
// for when udev has not yet heard of the keyboard: what udev does is waited for, ten seconds at
// most.
bool eventually(const std::function<bool()>& condition) {
    for (int attempt = 0; attempt < 200; ++attempt) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

// What a check saw, for the console: the Caps Lock keys' codes.
std::string seen(const Codes& codes) {
    std::string text = " (Caps Lock keys give";
    for (int code : codes)
        text += " " + std::to_string(code);
    return text + ")";
}

void checkAllKeyboards(const Keyboards& keyboards) {
    const std::string escape = mapping({{"39", "29"}});
    check(makeAndKeep(make(escape)) == 0, "make Caps Lock -> Escape permanent for all keyboards");
    const std::string file = guest::readFile(hwdbFile);
    check(file.find("KEYBOARD_KEY_70039=esc") != std::string::npos &&
              file.find("KEYBOARD_KEY_3a=esc") != std::string::npos,
          "the hwdb file holds the USB and the AT keyboard's keys");
    check(keyboards.capsLock() == Codes{KEY_ESC, KEY_ESC, KEY_ESC},
          "every keyboard's Caps Lock gives Escape, the AT keyboard's after udevadm trigger");

    UhidKeyboard later;
    const bool plugged = later.create(productA, BUS_USB, "Keyvane permanent later");
    check(plugged && eventually([&] { return keycodeOf(later.node, capsLockUsage) == KEY_ESC; }),
          "a keyboard plugged in afterwards, with no Keyvane running, has the permanent key");

    check(hidutilInProcess(mapping({{"39", "e0"}, {"04", "05"}})) == 0 &&
              keycodeOf(keyboards.a, capsLockUsage) == KEY_LEFTCTRL,
          "Keyvane's session list goes on top of the permanent keymap");
    check(hidutilInProcess(mapping({})) == 0 &&
              keyboards.capsLock() == Codes{KEY_ESC, KEY_ESC, KEY_ESC} &&
              keycodeOf(keyboards.a, 0x70004) == KEY_A,
          "clearing the session list goes back to the permanent keys, not the kernel's");
    const std::string onA =
        "Keyvane permanent A\nmapping 0x700000039 0x700000029 permanent\n"
        "key 0x70039 esc hwdb\n";
    check(hidutilInProcess(escape) == 0 && hidutilStatus().find(onA) != std::string::npos &&
              hidutilInProcess(mapping({})) == 0,
          "status: the session's Caps Lock -> Escape is the permanent keymap's, key by key hwdb's");
}

void checkOneProductAndAnswers(const Keyboards& keyboards) {
    Run removal({helper, "remove"});
    check(removal.status() == 0 && !std::filesystem::exists(hwdbFile) &&
              keyboards.capsLock() == Codes{KEY_CAPSLOCK, KEY_CAPSLOCK, KEY_CAPSLOCK},
          "remove gives the USB and the AT keyboard their kernel defaults");

    const std::string escape = mapping({{"39", "29"}});
    check(makeAndKeep(make(escape, "{\"ProductID\": 0x7772}")) == 0 &&
              keyboards.capsLock() == Codes{KEY_CAPSLOCK, KEY_ESC, KEY_CAPSLOCK},
          "a list made permanent for one product id changes no other keyboard");
    const std::string kept = guest::readFile(hwdbFile);

    Run silent(make(mapping({{"39", "e0"}})));
    const bool changed = silent.line() == "changed";
    const Codes during = keyboards.capsLock();
    check(changed && during == Codes{KEY_LEFTCTRL, KEY_LEFTCTRL, KEY_LEFTCTRL} &&
              silent.line() == "reverted" && silent.status() == 3,
          "left unanswered, the countdown puts the previous permanent keymap back");
    check(guest::readFile(hwdbFile) == kept &&
              keyboards.capsLock() == Codes{KEY_CAPSLOCK, KEY_ESC, KEY_CAPSLOCK},
          "after the countdown the previous file and keys are back, read from the kernel");

    Run script(make(mapping({{"39", "e0"}})));
    script.closeInput();
    check(script.line() == "changed" && script.status() == 3 &&
              keyboards.capsLock() == Codes{KEY_CAPSLOCK, KEY_ESC, KEY_CAPSLOCK},
          "without an input to answer on, the keys go back at once");
}

void checkRefusals(const Keyboards& keyboards) {
    const std::string kept = guest::readFile(hwdbFile);
    const Codes before = keyboards.capsLock();
    std::filesystem::rename(systemdHwdb, std::string(systemdHwdb) + ".real");
    {
        FILE* standIn = std::fopen(systemdHwdb, "w");
        std::fputs("#!/bin/sh\necho 'systemd-hwdb: stand-in that fails' >&2\nexit 1\n", standIn);
        std::fclose(standIn);
        ::chmod(systemdHwdb, 0755);
    }
    Run failing(make(mapping({{"39", "e0"}})));
    check(failing.status() == 1 && guest::readFile(hwdbFile) == kept &&
              keyboards.capsLock() == before,
          "a file that does not compile leaves the previous file and keymap in place");
    std::filesystem::rename(std::string(systemdHwdb) + ".real", systemdHwdb);

    // pkexec asks polkit about its parent process: a shell of the user's own, which does not
    // hand its process over to pkexec (the exit after it).
    Run refused({"/bin/sh", "-c", "\"$0\" \"$@\"; exit $?", pkexec, helper, "make",
                 mapping({{"39", "e0"}})},
                refusedUser);
    const int status = refused.status();
    check((status == 126 || status == 127) && guest::readFile(hwdbFile) == kept &&
              keyboards.capsLock() == before,
          "a call that polkit refuses writes nothing");

    std::filesystem::remove(hwdbFile);
    {
        FILE* byHand = std::fopen(hwdbFile, "w");
        std::fputs("evdev:input:b0003v1D50p7771*\n KEYBOARD_KEY_70004=b\n", byHand);
        std::fclose(byHand);
    }
    Run untouched(make(mapping({{"39", "e0"}})));
    check(untouched.status() == 1 &&
              guest::readFile(hwdbFile) == "evdev:input:b0003v1D50p7771*\n KEYBOARD_KEY_70004=b\n",
          "a file written by hand is never touched");
    std::filesystem::remove(hwdbFile);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: permanent-check HELPER HIDUTIL PKEXEC\n");
        return 2;
    }
    helper = argv[1];
    hidutil = argv[2];
    pkexec = argv[3];
    UhidKeyboard a, b;
    Keyboards keyboards;
    check(a.create(productA, BUS_USB, "Keyvane permanent A") &&
              b.create(productB, BUS_BLUETOOTH, "Keyvane permanent B"),
          "two uhid keyboards");
    keyboards.a = a.node;
    keyboards.b = b.node;
    keyboards.at = eventNodeNamed(atName);
    std::system("udevadm settle");
    // The kernel check leaves the AT keyboard's Caps Lock remapped, as hwdb would have it.
    setKeycode(keyboards.at, atCapsLock, KEY_CAPSLOCK);
    check(keyboards.capsLock() == Codes{KEY_CAPSLOCK, KEY_CAPSLOCK, KEY_CAPSLOCK},
          "the keyboards start with the kernel's keymap, the AT keyboard among them" +
              seen(keyboards.capsLock()) + " " + keyboards.at);
    checkAllKeyboards(keyboards);
    checkOneProductAndAnswers(keyboards);
    checkRefusals(keyboards);
    return guest::done(doneMarker);
}
