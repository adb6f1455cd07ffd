// Runs inside a virtual machine on a real kernel: makes two HID keyboards through uhid, drives
// hidutil as the application would, types on the keyboards and reads what their event devices
// report. Each check prints a marker line on the console, which the host reads.
#include <fcntl.h>
#include <linux/input.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "GuestCheck.h"
#include "UhidKeyboard.h"

namespace {

using guest::check;

constexpr const char* doneMarker = "KEYVANE-KERNEL-TEST DONE ";
constexpr unsigned productA = 0x1111;
constexpr unsigned productB = 0x2222;

std::string hidutil = "/bin/hidutil";
// Where hidutil keeps the original keys: HOME is /home/user, XDG_STATE_HOME is not set.
const char* stateFolder = "/home/user/.local/state/keyvane";

using guest::Result;

Result run(std::vector<std::string> args) {
    args.insert(args.begin(), hidutil);
    return guest::run(args);
}

// Whether the listing has a line for the keyboard named name with its product id and transport,
// as the kernel was told when the keyboard was made.
bool listed(const Result& listing, const std::string& name, const std::string& product,
            const std::string& transport) {
    const std::size_t at = listing.out.find(" " + name + " ");
    const std::size_t begin = listing.out.rfind('\n', at) + 1;
    const std::string line = listing.out.substr(begin, listing.out.find('\n', at) - begin);
    return at != std::string::npos && line.find(" " + product + " ") != std::string::npos &&
           line.find(" " + transport + " ") != std::string::npos;
}

Result set(const std::string& list) {
    return run({"property", "--set", list});
}

// Changes one key as udev's hwdb or another tool would, before Keyvane.
void remap(const std::string& node, unsigned scancode, unsigned keycode) {
    check(setKeycode(node, scancode, keycode), "remap beforehand on " + node);
}

const std::string swap = mapping({{"04", "05"}, {"05", "04"}, {"e3", "e7"}}), clear = mapping({});

long keymapRecords() {
    std::error_code error;
    return std::count_if(
        std::filesystem::directory_iterator(stateFolder, error), {},
        [](const auto& file) { return file.path().filename().string().starts_with("keymap."); });
}

// Another program changes keys while a list is installed: a letter of keyboard B, which must not
// hide B from status and clears, and a key of A that hidutil had changed, whose new code a clear
// leaves as it is.
void checkKeysChangedByOthers(const UhidKeyboard& a, const UhidKeyboard& b) {
    const auto aBefore = keymapOf(a.node), bBefore = keymapOf(b.node);
    check(set(swap).installed(), "swap installed");
    remap(b.node, 0x70016, KEY_X);
    remap(a.node, 0x70004, KEY_Z);
    const Result status = run({"status"});
    check(status.says(b.name + "\nmapping 0x700000004 0x700000005 installed\n") &&
              status.says(a.name + "\nmapping 0x700000004 0x700000005 overridden\n"),
          "status lists keyboard B with S moved, and A's a as overridden");
    const Result cleared = set(clear);
    auto aExpected = aBefore, bExpected = bBefore;
    aExpected[0x70004] = KEY_Z;
    bExpected[0x70016] = KEY_X;
    check(cleared.status == 0 && cleared.says("scancode 0x70004 was changed by someone else") &&
              keymapOf(a.node) == aExpected && keymapOf(b.node) == bExpected,
          "the clear restores A and B and leaves a -> z and s -> x, read back");
    remap(a.node, 0x70004, KEY_A);
    remap(b.node, 0x70016, KEY_S);
}

// A full disk after an install: installing a list the record already covers either changes
// nothing and fails, or changes the keys and succeeds; a clear needs no room.
void checkFullDisk(const UhidKeyboard& a) {
    const char* small = "/run/small-state";
    ::mkdir(small, 0700);
    const bool mounted = ::mount("small", small, "tmpfs", 0, "size=64k") == 0;
    ::setenv("XDG_STATE_HOME", small, 1);
    const auto before = keymapOf(a.node);
    check(mounted && set(swap).installed(), "swap installed on a small disk");
    guest::writeFile(std::string(small) + "/filler", std::string(1 << 20, 'x'));
    const auto swapped = keymapOf(a.node);
    const Result subset = set(mapping({{"04", "05"}}));
    const auto after = keymapOf(a.node);
    const bool changedAndSucceeded =
        subset.installed() && after.at(0x70004) == KEY_B && after.at(0x70005) == KEY_B;
    const bool neitherChangedNorSucceeded = subset.status == 1 && after == swapped;
    check(changedAndSucceeded != neitherChangedNorSucceeded,
          "full disk: an install the record covers changes nothing and fails, or succeeds");
    const Result cleared = set(clear);
    const Result clearedAgain = set(clear);
    check(cleared.status == 0 && clearedAgain.status == 0 && keymapOf(a.node) == before,
          "full disk: clears restore, and one with nothing to restore exits 0");
    ::unsetenv("XDG_STATE_HOME");
    ::umount(small);
}

// This process holds the folder's lock: hidutil gives up after a few seconds and names it.
void checkLockHeld() {
    const int lock = ::open((std::string(stateFolder) + "/hidutil.lock").c_str(),
                            O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    const bool held = lock >= 0 && ::flock(lock, LOCK_EX) == 0;
    const auto start = std::chrono::steady_clock::now();
    const Result stuck = set(swap);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    ::close(lock);
    check(held && stuck.status == 1 &&
              stuck.says("process " + std::to_string(::getpid()) + " holds ") &&
              stuck.says("hidutil.lock, and has for 5 seconds"),
          "the lock held by another process: hidutil ends after " +
              std::to_string(seconds.count()) + " s and names it");
}
}  // namespace

int main(int argc, char** argv) {
    if (argc > 1)
        hidutil = argv[1];
    UhidKeyboard a, b;
    const std::string nodeAt = eventNodeNamed("AT Translated Set 2 keyboard");
    if (!check(a.create(productA, BUS_USB, "Keyvane Test Keyboard A") &&
                   b.create(productB, BUS_BLUETOOTH, "Keyvane Test Keyboard B") && !nodeAt.empty(),
               "uhid keyboards A and B created; event device of the AT keyboard: " + nodeAt))
        return guest::done(doneMarker);
    const std::string nodeA = a.node;
    const auto atDefault = keymapOf(nodeAt), hidDefault = keymapOf(nodeA);
    const std::vector<const UhidKeyboard*> both = {&a, &b};

    // The listing names every keyboard with what the kernel was told of it.
    const Result listing = run({"list", "-m", "keyboard"});
    check(listing.status == 0 && listed(listing, a.name, "0x1111", "USB") &&
              listed(listing, b.name, "0x2222", "Bluetooth") &&
              listed(listing, "AT Translated Set 2 keyboard", "0x1", "Internal"),
          "list -m keyboard: product ids and transports of A, B and the AT keyboard");

    // The application's two-record example and "Disable key", on all keyboards.
    check(set(mapping({{"39", "29"}, {"e3", "e7"}, {"04", "00"}})).installed(),
          "two-record example and a disabled key installed");
    for (const UhidKeyboard* keyboard : both)
        check(keyboard->pressesOf(0x39) == std::vector<int>{KEY_ESC} &&
                  keyboard->pressesOf(0xe3) == std::vector<int>{KEY_RIGHTMETA} &&
                  keyboard->pressesOf(0x04).empty(),
              keyboard->name + ": Caps Lock gives Escape, Command Right Command, a nothing");
    const auto atNow = keymapOf(nodeAt);
    check(atNow.at(0x3a) == KEY_ESC && atNow.at(0xdb) == KEY_RIGHTMETA && atNow.at(0x1e) == 0,
          "AT keyboard: Caps Lock gives Escape, left Windows Right Meta, a nothing");

    // Clearing restores every default keymap.
    const Result cleared = set(clear);
    check(cleared == Result{0, "UserKeyMapping:(\n)\n", ""}, "clearing command echoes");
    check(keymapOf(nodeA) == hidDefault && keymapOf(nodeAt) == atDefault,
          "keyboard A and the AT keyboard: whole keymaps back to the default");

    // A remap made beforehand (as hwdb does) is no default to go back to: clearing keeps it.
    remap(nodeA, 0x70039, KEY_LEFTCTRL);
    remap(nodeAt, 0x3a, KEY_LEFTCTRL);
    const auto hidBefore = keymapOf(nodeA), atBefore = keymapOf(nodeAt);
    const auto restored = [&] {
        return keymapOf(nodeA) == hidBefore && keymapOf(nodeAt) == atBefore;
    };
    set(clear);
    check(restored(), "a remap made beforehand survives clearing");

    // A node whose device is gone: a note, not a failure.
    ::mknod("/dev/input/event99", S_IFCHR | 0600, makedev(13, 95));
    const Result stale = set(mapping({{"39", "29"}}));
    check(stale.installed() && stale.says("/dev/input/event99: its device is gone"),
          "a stale node does not fail the install");
    ::unlink("/dev/input/event99");

    // A keyboard whose descriptor stops at usage 0x65 has no Mute key.
    UhidKeyboard c;
    check(c.create(0x3333, BUS_USB, "Keyvane Test Keyboard C", 0x65), "uhid keyboard C created");
    const Result partly = set(mapping({{"39", "29"}, {"7f", "29"}}));
    check(partly.installed() && partly.says("(Keyvane Test Keyboard C) has no key for usage 0x7f"),
          "Mute is skipped on the keyboard without it");
    check(c.pressesOf(0x39) == std::vector<int>{KEY_ESC}, "keyboard C: Caps Lock gives Escape");
    check(a.pressesOf(0x7f) == std::vector<int>{KEY_ESC}, "keyboard A: Mute gives Escape");

    // Status reads back from the kernel what became of each entry: installed, or skipped on the
    // keyboard without Mute (overridden: checkKeysChangedByOthers). Under each keyboard's line come
    // its entries, then the keys hidutil set; B follows A, and C, made last, comes last.
    const Result status = run({"status"});
    check(
        status.status == 0 &&
            status.says(a.name + "\nmapping 0x700000039 0x700000029 installed\nmapping 0x70000007f "
                                 "0x700000029 installed\nkey 0x70039 esc keyvane\nkey 0x7007f esc "
                                 "keyvane\nkeyboard ") &&
            status.out.ends_with(c.name + "\nmapping 0x700000039 0x700000029 installed\n"
                                          "mapping 0x70000007f 0x700000029 skipped\n"
                                          "key 0x70039 esc keyvane\n"),
        "status: both entries installed on keyboard A, Mute skipped on keyboard C");
    ::close(c.event);
    ::close(c.fd);  // unplugged: its record is of no use any more
    guest::waitFor([&] { return !std::filesystem::exists(c.node); });
    set(clear);
    check(keymapRecords() == 0 && restored(),
          "no record is left, not even of the keyboard unplugged, and the clear restored A and AT");

    checkKeysChangedByOthers(a, b);
    checkFullDisk(a);
    checkLockHeld();
    check(restored(), "A and the AT keyboard as before");

    return guest::done(doneMarker);
}
