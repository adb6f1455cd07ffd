// Runs inside the virtual machine as root, where systemd-udevd applies udev's hwdb and the system
// bus and polkitd run: makes lists permanent with keyvane-permanent as Keyvane runs it, and reads
// every result back from the kernel, on uhid keyboards and on qemu's AT keyboard.
//   permanent-check HELPER HIDUTIL PKEXEC
#include <linux/input.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
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

using guest::Child;

const std::string capsToCtrl = mapping({{"39", "e0"}});

std::vector<std::string> make(const std::string& list, const char* matching = nullptr) {
    std::vector<std::string> args{helper, "make", list};
    if (matching)
        args.insert(args.end(), {"--matching", matching});
    return args;
}

// Made and kept: what Keyvane does when the user keeps the keys.
int makeAndKeep(const std::vector<std::string>& args) {
    Child run(args);
    const bool changed = run.line() == "changed";
    run.answer("keep\n");
    const int status = run.finish().status;
    return changed ? status : -1;
}

// hidutil as the session's, with records of its own.
guest::Result inProcess(std::vector<std::string> args) {
    args.insert(args.begin(), hidutil);
    return guest::run(args, 0,
                      {"KEYVANE_HIDUTIL_IN_PROCESS=1", "XDG_STATE_HOME=/run/permanent-state"});
}

int hidutilInProcess(const std::string& list) {
    return inProcess({"property", "--set", list}).status;
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
    check(
        plugged && guest::waitFor([&] { return keycodeOf(later.node, capsLockUsage) == KEY_ESC; }),
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
    check(hidutilInProcess(escape) == 0 &&
              inProcess({"status"}).out.find(onA) != std::string::npos &&
              hidutilInProcess(mapping({})) == 0,
          "status: the session's Caps Lock -> Escape is the permanent keymap's, key by key hwdb's");
}

void checkOneProductAndAnswers(const Keyboards& keyboards) {
    check(guest::run({helper, "remove"}).status == 0 && !std::filesystem::exists(hwdbFile) &&
              keyboards.capsLock() == Codes{KEY_CAPSLOCK, KEY_CAPSLOCK, KEY_CAPSLOCK},
          "remove gives the USB and the AT keyboard their kernel defaults");

    const std::string escape = mapping({{"39", "29"}});
    check(makeAndKeep(make(escape, "{\"ProductID\": 0x7772}")) == 0 &&
              keyboards.capsLock() == Codes{KEY_CAPSLOCK, KEY_ESC, KEY_CAPSLOCK},
          "a list made permanent for one product id changes no other keyboard");
    const std::string kept = guest::readFile(hwdbFile);

    Child silent(make(capsToCtrl));
    const bool changed = silent.line() == "changed";
    const Codes during = keyboards.capsLock();
    check(changed && during == Codes{KEY_LEFTCTRL, KEY_LEFTCTRL, KEY_LEFTCTRL} &&
              silent.line() == "reverted" && silent.finish().status == 3,
          "left unanswered, the countdown puts the previous permanent keymap back");
    check(guest::readFile(hwdbFile) == kept &&
              keyboards.capsLock() == Codes{KEY_CAPSLOCK, KEY_ESC, KEY_CAPSLOCK},
          "after the countdown the previous file and keys are back, read from the kernel");

    Child script(make(capsToCtrl));
    script.closeInput();
    check(script.line() == "changed" && script.finish().status == 3 &&
              keyboards.capsLock() == Codes{KEY_CAPSLOCK, KEY_ESC, KEY_CAPSLOCK},
          "without an input to answer on, the keys go back at once");
}

void checkRefusals(const Keyboards& keyboards) {
    const std::string kept = guest::readFile(hwdbFile);
    const Codes before = keyboards.capsLock();
    std::filesystem::rename(systemdHwdb, std::string(systemdHwdb) + ".real");
    guest::writeFile(systemdHwdb,
                     "#!/bin/sh\necho 'systemd-hwdb: stand-in that fails' >&2\nexit 1\n");
    ::chmod(systemdHwdb, 0755);
    check(guest::run(make(capsToCtrl)).status == 1 && guest::readFile(hwdbFile) == kept &&
              keyboards.capsLock() == before,
          "a file that does not compile leaves the previous file and keymap in place");
    std::filesystem::rename(std::string(systemdHwdb) + ".real", systemdHwdb);

    // pkexec asks polkit about its parent process: a shell of the user's own, which does not
    // hand its process over to pkexec (the exit after it).
    const int status =
        guest::run({"/bin/sh", "-c", "\"$0\" \"$@\"; exit $?", pkexec, helper, "make", capsToCtrl},
                   refusedUser)
            .status;
    check((status == 126 || status == 127) && guest::readFile(hwdbFile) == kept &&
              keyboards.capsLock() == before,
          "a call that polkit refuses writes nothing");

    const std::string byHand = "evdev:input:b0003v1D50p7771*\n KEYBOARD_KEY_70004=b\n";
    guest::writeFile(hwdbFile, byHand);
    check(guest::run(make(capsToCtrl)).status == 1 && guest::readFile(hwdbFile) == byHand,
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
    check(a.create(productA, BUS_USB, "Keyvane permanent A") &&
              b.create(productB, BUS_BLUETOOTH, "Keyvane permanent B"),
          "two uhid keyboards");
    const Keyboards keyboards{a.node, b.node, eventNodeNamed(atName)};
    guest::run({"/bin/udevadm", "settle"});
    // The kernel check leaves the AT keyboard's Caps Lock remapped, as hwdb would have it.
    setKeycode(keyboards.at, atCapsLock, KEY_CAPSLOCK);
    check(keyboards.capsLock() == Codes{KEY_CAPSLOCK, KEY_CAPSLOCK, KEY_CAPSLOCK},
          "the keyboards start with the kernel's keymap, the AT keyboard among them");
    checkAllKeyboards(keyboards);
    checkOneProductAndAnswers(keyboards);
    checkRefusals(keyboards);
    return guest::done(doneMarker);
}
