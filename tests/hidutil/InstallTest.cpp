// Installing and restoring keymaps against keyboards in memory, through the command line.
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

#include "common/Text.h"
#include "hidutil/Command.h"
#include "keys/HidutilContract.h"
#include "tests/hidutil/MemoryDevices.h"
#include "tests/support/Golden.h"
#include "tests/support/ReadFile.h"

namespace keyvane::hidutil {
namespace {

using testing::MemoryDeviceSource;
namespace fs = std::filesystem;

using testing::Entry;
using testing::Outcome;
using testing::userKeyMapping;

const std::string clear = userKeyMapping({});
const Entry capsToEscape = {"0x700000039", "0x700000029"};
const Entry escapeToCaps = {"0x700000029", "0x700000039"};
const Entry aToB = {"0x700000004", "0x700000005"};
const Entry bToA = {"0x700000005", "0x700000004"};
// udev's database entry of an AT keyboard whose Caps Lock a permanent keymap made Escape.
const std::string permanentCapsToEscape =
    "E:KEYBOARD_KEY_3a=esc\nE:KEYVANE_ORIGINAL_KEY_3a=capslock\n";

class Install : public ::testing::Test {
  protected:
    Outcome run(const std::vector<std::string>& args) {
        return testing::runHidutil(args, devices, folder);
    }
    Outcome set(const std::string& text) { return run({"property", "--set", text}); }

    std::vector<std::string> keymapRecords() const {
        std::vector<std::string> names;
        for (const auto& file : fs::directory_iterator(*folder))
            if (file.path().filename().string().rfind("keymap.", 0) == 0)
                names.push_back(file.path().filename().string());
        return names;
    }

    std::optional<fs::path> folder = fs::path(std::getenv("XDG_STATE_HOME")) / "keyvane";
    MemoryDeviceSource devices;
};

TEST_F(Install, MapsHidKeyboardsByUsageAndOthersByKeyCode) {
    auto hid = testing::hidKeyboard(0x27e, 5);
    auto at = testing::atKeyboard(0);
    // Caps Lock made Escape for good: the list's Caps Lock and Escape are still the keys they were.
    testing::applyUdevData(*at, permanentCapsToEscape);
    devices.keyboards = {at, hid};
    const std::string list =
        userKeyMapping({capsToEscape, escapeToCaps, aToB,
                        Entry("0x700000004", "0x700000006"),  // the later one wins
                        Entry("0x70000004c", "0x700000000")});
    const Outcome swapped = set(list);
    ASSERT_EQ(swapped.status, exitSuccess) << swapped.err;
    const std::pair<unsigned, unsigned> hidCodes[] = {{0x70039, KEY_ESC},
                                                      {0x70029, KEY_CAPSLOCK},
                                                      {0x70004, KEY_C},
                                                      {0x7004c, 0},
                                                      // Other Delete usages are other keys.
                                                      {0x7009c, KEY_DELETE}};
    for (const auto& [scancode, code] : hidCodes)
        EXPECT_EQ(hid->find(scancode)->keycode, code) << std::hex << scancode;
    // Every AT scancode that produced Delete goes silent.
    const std::pair<unsigned, unsigned> atCodes[] = {
        {0x3a, KEY_ESC}, {0x01, KEY_CAPSLOCK}, {0x1e, KEY_C}, {0x80 | 0x53, 0}, {0x80 | 0x71, 0}};
    for (const auto& [scancode, code] : atCodes)
        EXPECT_EQ(at->find(scancode)->keycode, code) << std::hex << scancode;
    // Installing the same list again changes nothing that is already in place.
    const int changes = hid->changes;
    ASSERT_EQ(set(list).status, exitSuccess);
    EXPECT_EQ(hid->changes, changes);
}

// Clearing puts back exactly the keymaps found before the first run, a remap that another tool
// (udev's hwdb) made beforehand included, whatever happened between, and leaves no record behind.
TEST_F(Install, ClearingRestoresExactlyWhatWasFoundWhateverHappenedBetween) {
    const std::string reboot = "reboot", replug = "replug", firstFormat = "first format",
                      crash = "crash while writing";
    struct Step {
        std::string text;  // a list to install, or what happens to the machine
        int killAfter = -1;
        bool onAt = false;  // the AT keyboard is killed or meddled with, else the HID one
        // Another program (or udev's hwdb again) gives a scancode a code of its own; what it sets
        // is no longer hidutil's to restore.
        std::optional<std::pair<std::uint32_t, std::uint32_t>> meddle = {};
        std::string udevData = {};  // udev's rules apply a permanent keymap
    };
    const auto meddle = [](std::uint32_t scancode, std::uint32_t code, bool onAt = false) {
        return Step{{}, -1, onAt, std::pair{scancode, code}};
    };
    const auto udev = [](std::string data, bool onAt = false) {
        return Step{{}, -1, onAt, {}, std::move(data)};
    };
    struct Row {
        const char* what;
        std::vector<Step> steps;
    };
    // A boot keyboard lists its modifiers twice.
    const std::string swap =
        userKeyMapping({aToB, bToA, capsToEscape, Entry("0x7000000e3", "0x7000000e7")});
    std::vector<Row> rows = {
        {"clearing alone", {{clear}, {clear}}},
        {"an install over the remapped key", {{userKeyMapping({capsToEscape})}, {clear}}},
        {"a list replacing another", {{swap}, {userKeyMapping({escapeToCaps})}, {clear}}},
        // Still a keyboard, although it lacks a letter now.
        {"a letter disabled", {{userKeyMapping({Entry("0x700000004", "0x700000000")})}, {clear}}},
        {"a letter moved by another program while installed",
         {{swap}, meddle(0x70016, KEY_X), {clear}}},
        // ... which no longer makes the AT keyboard one by what its keys give.
        {"an AT letter moved while installed", {{swap}, meddle(0x1f, KEY_X, true), {clear}}},
        {"a key hidutil changed, changed again by another program",
         {{swap}, meddle(0x70004, KEY_Z), {clear}}},
        {"... and installed over", {{swap}, meddle(0x70004, KEY_Z), {swap}, {clear}}},
        // Caps Lock made a Ctrl key for good: the list changes it, a clear puts back the Ctrl key.
        {"a list over a permanent keymap",
         {udev("E:KEYBOARD_KEY_70039=leftctrl\nE:KEYVANE_ORIGINAL_KEY_70039=capslock\n"),
          udev("E:KEYBOARD_KEY_3a=rightctrl\nE:KEYVANE_ORIGINAL_KEY_3a=capslock\n", true),
          {swap},
          {clear}}},
        {"a reboot leaves records of no use", {{swap}, {reboot}, {clear}, {swap}, {clear}}},
        {"a replugged keyboard is another device", {{swap}, {replug}, {swap}, {clear}}},
        // Removed: what a write cut short leaves; kept: a name that merely has ".new" in it.
        {"temporary files of writes cut short", {{swap}, {crash}, {swap}, {crash}, {clear}}},
        // An older hidutil, earlier in this boot, kept no skipped keys (the AT keyboard has no
        // F13).
        {"records of the first format",
         {{userKeyMapping({aToB, Entry("0x700000068", "0x700000029")})},
          {firstFormat},
          {swap},
          {clear}}},
    };
    // Killed after each change, on a clean keymap (the application clears first) and over a list.
    // The AT keyboard has no Caps Lock left to map, so it changes one key less.
    for (const auto& [before, list, hidChanges] :
         {std::tuple{clear, swap, 4}, std::tuple{swap, userKeyMapping({escapeToCaps}), 5}})
        for (bool onAt : {true, false})
            for (int changes = 0; changes < hidChanges - onAt; ++changes)
                rows.push_back(
                    {"killed part way", {{swap}, {before}, {list, changes, onAt}, {clear}}});

    for (const Row& row : rows) {
        auto hid = testing::hidKeyboard(0x27e, 5);
        auto at = testing::atKeyboard(0);
        hid->find(0x70039)->keycode = KEY_LEFTCTRL;
        at->find(0x3a)->keycode = KEY_LEFTCTRL;
        devices.keyboards = {at, hid};
        auto hidBefore = hid->keymap, atBefore = at->keymap;
        for (const Step& step : row.steps) {
            if (step.meddle) {
                const auto& [scancode, code] = *step.meddle;
                (step.onAt ? *at : *hid).find(scancode)->keycode = code;
                for (KeymapEntry& entry : step.onAt ? atBefore : hidBefore)
                    if (entry.scancode == scancode)
                        entry.keycode = code;
            } else if (!step.udevData.empty()) {
                testing::MemoryKeyboard& keyboard = step.onAt ? *at : *hid;
                testing::applyUdevData(keyboard, step.udevData);
                (step.onAt ? atBefore : hidBefore) = keyboard.keymap;
            } else if (step.text == reboot) {
                devices.bootId = "8c41d0e6-5f2a-4b93-a7e8-1d6c9b3f0a25";
                hid->keymap = hidBefore;
                at->keymap = atBefore;
            } else if (step.text == replug) {
                hid = testing::hidKeyboard(0x27e, 5);
                hid->info.instance = "input9";
                hid->keymap = hidBefore;
                devices.keyboards = {at, hid};
            } else if (step.text == crash) {
                for (const auto& name : keymapRecords())
                    fs::copy_file(*folder / name, *folder / (name + ".new-x7Qz09"),
                                  fs::copy_options::overwrite_existing);
                std::ofstream(*folder / "notes.new") << "not hidutil's";
            } else if (step.text == firstFormat) {
                // The first format had originals alone, no codes set, no skipped keys, no end.
                std::string skipped;
                for (const auto& name : keymapRecords()) {
                    std::ifstream in(*folder / name);
                    std::string line, content = "keyvane-keymap-record 1\n";
                    for (std::getline(in, line); std::getline(in, line);) {
                        const auto words = splitKeepingEmpty(line, ' ');
                        if (words[0] == "key")
                            content += "original " + words[1] + " " + words[2] + "\n";
                        else if (words[0] == "mapping")
                            content += line + "\n";
                        else if (words[0] == "skipped")
                            skipped += line + "\n";
                    }
                    std::ofstream(*folder / name) << content;
                }
                EXPECT_EQ(skipped, "skipped 0x68\n");
            } else if (step.killAfter >= 0) {
                testing::MemoryKeyboard& killed = step.onAt ? *at : *hid;
                killed.changesBeforeKill = killed.changes + step.killAfter;
                EXPECT_THROW(set(step.text), testing::Killed) << row.what;
                killed.changesBeforeKill = -1;
            } else {
                const Outcome outcome = set(step.text);
                ASSERT_EQ(outcome.status, exitSuccess) << row.what << ": " << outcome.err;
            }
        }
        EXPECT_EQ(hid->keymap, hidBefore) << row.what;
        EXPECT_EQ(at->keymap, atBefore) << row.what;
        EXPECT_EQ(keymapRecords(), std::vector<std::string>{}) << row.what;
        EXPECT_EQ(fs::exists(*folder / "notes.new"),
                  std::string_view(row.what).find("cut short") != std::string_view::npos)
            << row.what;
        fs::remove_all(*folder);
    }
}

// Each row installs Caps Lock -> Escape on a keyboard that takes it, beside something that is
// only worth a note (success: the echo, the key installed) or that fails the install (no echo).
// What hidutil says, and the status it reads back afterwards, are kept in left-out.txt.
TEST_F(Install, WhatIsLeftOutIsANoteAndWhatIsNotTakenAFailure) {
    struct Row {
        const char* what;
        std::string list = userKeyMapping({capsToEscape});
        std::optional<std::errc> unopened = {};  // event9 cannot be opened
        bool unopenedKeyboard = true;
        std::optional<std::errc> refusal = {};  // event6 refuses every change
        bool ignores = false;                   // event6 does not take Caps Lock's change
        const char* record = nullptr;           // the content of event6's record
    };
    const Row rows[] = {
        {.what = "the application writes 0x7000000 for an id left blank",
         .list = userKeyMapping({Entry("0x7000000", "0x700000029"), capsToEscape})},
        {.what = "a usage without a key code",
         .list = userKeyMapping({capsToEscape, Entry("0x700000003", "0x700000082")})},
        {.what = "a node whose device is gone", .unopened = std::errc::no_such_device_or_address},
        {.what = "a node of no keyboard that cannot be opened",
         .unopened = std::errc::permission_denied,
         .unopenedKeyboard = false},
        // The kernel knows the keyboard's keys better than its keymap listing did.
        {.what = "a key refused as no key of the keyboard", .refusal = std::errc::invalid_argument},
        {.what = "a keyboard that went away", .refusal = std::errc::no_such_device},
        {.what = "a node that may be a keyboard and cannot be opened",
         .unopened = std::errc::permission_denied},
        {.what = "a change refused", .refusal = std::errc::operation_not_permitted},
        {.what = "a change not taken", .ignores = true},
        // A damaged record is never replaced by one that takes changed keys for originals.
        {.what = "a damaged record", .record = "garbage\n"},
    };
    std::string transcript;
    const auto note = [&](const std::string& what, const Outcome& outcome, bool out = false) {
        transcript += "== " + what + "\n" + (out ? outcome.out : "") + outcome.err + "[exit " +
                      std::to_string(outcome.status) + "]\n";
    };
    for (const Row& row : rows) {
        auto fine = testing::hidKeyboard(0x27e, 5);
        auto other = testing::hidKeyboard(0x300, 6);
        devices.keyboards = {fine, other};
        devices.unopened.clear();
        if (row.unopened)
            devices.unopened.push_back(
                {"/dev/input/event9", std::make_error_code(*row.unopened), row.unopenedKeyboard});
        if (row.refusal)
            other->refusal = std::make_error_code(*row.refusal);
        if (row.ignores)
            other->ignored = {0x70039};
        if (row.record) {
            fs::create_directories(*folder);
            std::ofstream(*folder / ("keymap." + devices.bootId + ".input6")) << row.record;
        }
        const Outcome outcome = set(row.list);
        note(row.what, outcome);
        EXPECT_EQ(outcome.out.find("UserKeyMapping") != std::string::npos,
                  outcome.status == exitSuccess)
            << row.what;
        EXPECT_EQ(fine->find(0x70039)->keycode, KEY_ESC) << row.what;
        // What the install leaves for the application is what `status --json` reads back of the
        // keyboards that took the list (a keyboard that refused did not); a failed one leaves
        // nothing.
        if (row.refusal)
            note("status", run({"status"}), true);
        else
            EXPECT_EQ(testing::readFile(*folder / contract::statusFileName),
                      outcome.status == exitSuccess ? run({"status", "--json"}).out : "")
                << row.what;
        if (row.unopened) {  // what is read back fails as the install does; status names why
            note("property --get", run({"property", "--get", "UserKeyMapping"}), true);
            note("status", run({"status"}), true);
            note("status --json", run({"status", "--json"}), true);
        }
        fs::remove_all(*folder);
    }

    // A key changed since the install (as udev's hwdb does) is overridden until the list is
    // installed again.
    auto full = testing::hidKeyboard(0x27e, 5);
    devices = MemoryDeviceSource();
    devices.keyboards = {full};
    ASSERT_EQ(set(userKeyMapping({capsToEscape})).status, exitSuccess);
    full->find(0x70039)->keycode = KEY_LEFTCTRL;
    note("status after a key was changed by another program", run({"status"}), true);
    ASSERT_EQ(set(userKeyMapping({capsToEscape})).status, exitSuccess);
    note("status after installing again", run({"status"}), true);
    // The AT keyboard's Caps Lock was made Escape for good before udev's database said so: the
    // list finds no Caps Lock there, and reads permanent once udev has told.
    auto at = testing::atKeyboard(0);
    at->find(0x3a)->keycode = KEY_ESC;
    devices.keyboards.push_back(at);
    note("a list whose Caps Lock a permanent keymap moved", set(userKeyMapping({capsToEscape})));
    testing::applyUdevData(*at, permanentCapsToEscape);
    note("status once udev has told", run({"status"}), true);
    devices.bootId.clear();
    note("no boot id", set(clear));
    folder.reset();
    note("neither XDG_STATE_HOME nor HOME", set(clear));
    const std::string stateFolder = fs::path(std::getenv("XDG_STATE_HOME")) / "keyvane";
    transcript = std::regex_replace(transcript, std::regex("damaged-[0-9TZ]+"), "damaged-TIME");
    testing::expectGolden("left-out.txt", replacingOccurrences(transcript, stateFolder, "$STATE"));
}

// A record cut short anywhere (at a line's end or inside a number, as a full disk or a crash of
// the file system may leave it) or changed is never taken for a whole one: a clear refuses it and
// leaves the keys as they are, the record is moved aside and named, and the keyboard's originals
// show as unknown; a later install works.
TEST_F(Install, ARecordCutShortOrChangedIsSetAsideAndNamed) {
    const std::string swap = userKeyMapping({aToB, bToA, capsToEscape});
    auto hid = testing::hidKeyboard(0x27e, 5);
    devices.keyboards = {hid};
    ASSERT_EQ(set(swap).status, exitSuccess);
    const fs::path record = *folder / keymapRecords().at(0);
    const std::string whole = testing::readFile(record);
    const auto keymapSwapped = hid->keymap;
    std::vector<std::string> damaged;
    for (std::size_t at = whole.find('\n'); at + 1 < whole.size(); at = whole.find('\n', at + 1))
        for (std::size_t cut : {at + 1, at + 5})  // a line's end; inside its first number
            damaged.push_back(whole.substr(0, cut));
    damaged.push_back(
        replacingOccurrences(whole, "key 0x70004 0x1e 0x30", "key 0x70004 0x1e 0x31"));
    ASSERT_NE(damaged.back(), whole);
    for (const std::string& content : damaged) {
        std::ofstream(record, std::ios::trunc) << content;
        const Outcome cleared = set(clear);
        EXPECT_EQ(cleared.status, exitFailure) << content;
        EXPECT_NE(cleared.err.find("was cut short or changed, and is moved to " + record.string() +
                                   ".damaged-"),
                  std::string::npos)
            << cleared.err;
        EXPECT_EQ(hid->keymap, keymapSwapped) << content;
        EXPECT_FALSE(fs::exists(record)) << content;
        // Installing again takes the keys as they are now for originals.
        ASSERT_EQ(set(userKeyMapping({capsToEscape})).status, exitSuccess) << content;
        const Outcome status = run({"status"});
        EXPECT_EQ(status.status, exitFailure);
        EXPECT_NE(status.out.find("Memory Keyboard\noriginals unknown\nmapping 0x700000039 "
                                  "0x700000029 installed\n"),
                  std::string::npos)
            << status.out;
        ASSERT_EQ(set(clear).status, exitSuccess) << content;
        fs::remove_all(*folder);
        fs::create_directories(*folder);
        std::ofstream(record) << whole;
    }
}

}  // namespace
}  // namespace keyvane::hidutil
