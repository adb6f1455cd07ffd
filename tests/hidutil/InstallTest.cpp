// Installing and restoring keymaps against keyboards in memory, through the command line.
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "hidutil/Command.h"
#include "tests/hidutil/MemoryDevices.h"

namespace keyvane::hidutil {
namespace {

using testing::MemoryDeviceSource;
using testing::MemoryKeyboard;
namespace fs = std::filesystem;

const std::string clear = R"({"UserKeyMapping" : []})";

std::string entry(const char* src, const char* dst) {
    return std::string(R"({"HIDKeyboardModifierMappingSrc" : )") + src +
           R"(, "HIDKeyboardModifierMappingDst" : )" + dst + "}";
}

std::string mappings(std::initializer_list<std::string> entries) {
    std::string joined;
    for (const auto& e : entries)
        joined += (joined.empty() ? "" : ",") + e;
    return R"({"UserKeyMapping" : [)" + joined + "]}";
}

const std::string capsToEscape = entry("0x700000039", "0x700000029");
const std::string escapeToCaps = entry("0x700000029", "0x700000039");
const std::string commandToRightCommand = entry("0x7000000e3", "0x7000000e7");
const std::string aToB = entry("0x700000004", "0x700000005");
const std::string bToA = entry("0x700000005", "0x700000004");

class Install : public ::testing::Test {
  protected:
    struct Outcome {
        int status;
        std::string out;
        std::string err;
    };

    Outcome run(const std::vector<std::string>& args) {
        std::ostringstream out, err;
        const int status = runCommand(args, devices, folder, out, err);
        return {status, out.str(), err.str()};
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

TEST_F(Install, SwapsOnHidAndAtKeyboardsAndAnEmptyListRestoresBoth) {
    auto hid = testing::hidKeyboard(0x27e, 5);
    auto at = testing::atKeyboard(0);
    devices.keyboards = {at, hid};
    const auto hidBefore = hid->keymap, atBefore = at->keymap;

    const Outcome swapped = set(mappings({capsToEscape, escapeToCaps, commandToRightCommand}));
    ASSERT_EQ(swapped.status, exitSuccess) << swapped.err;
    // HID: the scancode is the usage.
    EXPECT_EQ(hid->codeOf(0x70039), KEY_ESC);
    EXPECT_EQ(hid->codeOf(0x70029), KEY_CAPSLOCK);
    EXPECT_EQ(hid->codeOf(0x700e3), KEY_RIGHTMETA);
    EXPECT_EQ(hid->codeOf(0x700e7), KEY_RIGHTMETA);
    // AT: the scancodes whose original codes are the sources' codes.
    EXPECT_EQ(at->codeOf(0x3a), KEY_ESC);
    EXPECT_EQ(at->codeOf(0x01), KEY_CAPSLOCK);
    EXPECT_EQ(at->codeOf(0x80 | 0x5b), KEY_RIGHTMETA);
    EXPECT_EQ(at->codeOf(0x1e), KEY_A);
    EXPECT_EQ(hid->changes, 3);
    EXPECT_EQ(at->changes, 3);

    // Installing the same list again changes nothing that is already in place.
    ASSERT_EQ(set(mappings({capsToEscape, escapeToCaps, commandToRightCommand})).status,
              exitSuccess);
    EXPECT_EQ(hid->changes, 3);

    const Outcome cleared = set(clear);
    ASSERT_EQ(cleared.status, exitSuccess) << cleared.err;
    EXPECT_EQ(cleared.out, "UserKeyMapping:(\n)\n");
    EXPECT_EQ(hid->keymap, hidBefore);
    EXPECT_EQ(at->keymap, atBefore);
    EXPECT_TRUE(keymapRecords().empty());
}

TEST_F(Install, LaterEntryOfTheSameSourceWinsAndUsageZeroDisables) {
    auto hid = testing::hidKeyboard(0x27e, 5);
    auto at = testing::atKeyboard(0);
    devices.keyboards = {at, hid};
    const Outcome result = set(
        mappings({aToB, entry("0x700000004", "0x700000006"), entry("0x70000004c", "0x700000000")}));
    ASSERT_EQ(result.status, exitSuccess) << result.err;
    EXPECT_EQ(hid->codeOf(0x70004), KEY_C);
    EXPECT_EQ(at->codeOf(0x1e), KEY_C);
    EXPECT_EQ(hid->codeOf(0x7004c), 0u);
    // Every AT scancode that produced Delete goes silent; the HID keyboard's other Delete usages,
    // being other keys, keep their code.
    EXPECT_EQ(at->codeOf(0x80 | 0x53), 0u);
    EXPECT_EQ(at->codeOf(0x80 | 0x71), 0u);
    EXPECT_EQ(hid->codeOf(0x7009c), KEY_DELETE);
    // Then b -> a alone: the original b key makes a, and the a key is a again.
    ASSERT_EQ(set(mappings({bToA})).status, exitSuccess);
    EXPECT_EQ(at->codeOf(0x1e), KEY_A);
    EXPECT_EQ(at->codeOf(0x30), KEY_A);
}

// What happens to the keyboards between and during runs, and what must come out of it: clearing
// puts back exactly the keymaps found before the first run, a remap that another tool (udev's
// hwdb) made beforehand included, and leaves no record behind.
TEST_F(Install, ClearingRestoresExactlyWhatWasFoundWhateverHappenedBetween) {
    enum class Event { Set, Logout, KillAfter, Reboot, Replug };
    struct Step {
        Event event;
        std::string text;
        int changes = 0;  // KillAfter: changes on the keyboard killed at
        bool onAt = false;
    };
    const auto install = [](std::string text) { return Step{Event::Set, std::move(text)}; };
    const std::string swap = mappings({aToB, bToA, capsToEscape});
    struct Row {
        const char* what;
        std::vector<Step> steps;
    };
    std::vector<Row> rows = {
        {"clearing alone", {install(clear), install(clear)}},
        {"an install over the remapped key", {install(mappings({capsToEscape})), install(clear)}},
        {"a list replacing another",
         {install(swap), install(mappings({escapeToCaps})), install(clear)}},
        {"a logout between launches",
         {install(swap), {Event::Logout, ""}, install(clear), install(swap), install(clear)}},
        {"a reboot leaves records that must not be used",
         {install(swap), {Event::Reboot, ""}, install(clear), install(swap), install(clear)}},
        {"a replugged keyboard is another device",
         {install(swap), {Event::Replug, ""}, install(mappings({capsToEscape})), install(clear)}},
    };
    // Killed after each change, on a clean keymap (the application clears first) and over a list.
    // The AT keyboard has no Caps Lock left to map, so it changes one key less.
    struct Kill {
        std::string before, list;
        int hidChanges;
    };
    for (const Kill& kill : {Kill{clear, swap, 3}, Kill{swap, mappings({escapeToCaps}), 4}})
        for (bool onAt : {true, false})
            for (int changes = 0; changes < kill.hidChanges - onAt; ++changes)
                rows.push_back({"an install killed part way",
                                {install(swap),
                                 install(kill.before),
                                 {Event::KillAfter, kill.list, changes, onAt},
                                 install(clear)}});
    for (const Row& row : rows) {
        auto hid = testing::hidKeyboard(0x27e, 5);
        auto at = testing::atKeyboard(0);
        hid->set(0x70039, KEY_LEFTCTRL);
        at->set(0x3a, KEY_LEFTCTRL);
        devices.keyboards = {at, hid};
        const auto hidBefore = hid->keymap, atBefore = at->keymap;
        for (const Step& step : row.steps) {
            switch (step.event) {
                case Event::Set: {
                    const Outcome outcome = set(step.text);
                    ASSERT_EQ(outcome.status, exitSuccess) << row.what << ": " << outcome.err;
                    break;
                }
                case Event::Logout:
                    fs::remove_all(std::getenv("XDG_RUNTIME_DIR"));
                    fs::create_directory(std::getenv("XDG_RUNTIME_DIR"));
                    break;
                case Event::KillAfter: {
                    MemoryKeyboard& killer = step.onAt ? *at : *hid;
                    killer.changesBeforeKill = killer.changes + step.changes;
                    EXPECT_THROW(set(step.text), testing::Killed) << row.what;
                    killer.changesBeforeKill = -1;
                    break;
                }
                case Event::Reboot:
                    devices.bootId = "8c41d0e6-5f2a-4b93-a7e8-1d6c9b3f0a25";
                    hid->keymap = hidBefore;
                    at->keymap = atBefore;
                    break;
                case Event::Replug:
                    hid = testing::hidKeyboard(0x27e, 5);
                    hid->info.instance = "input9";
                    hid->keymap = hidBefore;
                    devices.keyboards = {at, hid};
                    break;
            }
        }
        EXPECT_EQ(hid->keymap, hidBefore) << row.what;
        EXPECT_EQ(at->keymap, atBefore) << row.what;
        EXPECT_EQ(keymapRecords(), std::vector<std::string>{}) << row.what;
        fs::remove_all(*folder);
    }
}

// Each row installs Caps Lock -> Escape on a keyboard that takes it, beside something that is
// only worth a note (success: the echo, the key installed) or that fails the install (no echo).
TEST_F(Install, WhatIsLeftOutIsANoteAndWhatIsNotTakenAFailure) {
    using Setup = std::function<void(MemoryDeviceSource&, MemoryKeyboard & other)>;
    const auto unopened = [](std::errc error, bool keyboard) -> Setup {
        return [=](MemoryDeviceSource& source, MemoryKeyboard&) {
            source.unopened.push_back({"/dev/input/event9", std::make_error_code(error), keyboard});
        };
    };
    const auto refusing = [](std::errc error) -> Setup {
        return [=](MemoryDeviceSource&, MemoryKeyboard& other) {
            other.refusal = std::make_error_code(error);
        };
    };
    const Setup nothing = [](MemoryDeviceSource&, MemoryKeyboard&) {};
    const char* pageNote =
        "hidutil: note: skipping the mapping {}: {} is not a usage of the "
        "keyboard page 7 (it is on page {})\n";
    const auto note = [](std::string format, std::initializer_list<std::string> args) {
        for (const auto& arg : args)
            format.replace(format.find("{}"), 2, arg);
        return format;
    };
    struct Row {
        std::string list;
        Setup setup;
        bool succeeds;
        std::string err;
    };
    const Row rows[] = {
        // The application writes 0x7000000 for an id left blank.
        {mappings({entry("0x7000000", "0x700000029"), capsToEscape}), nothing, true,
         note(pageNote, {"0x7000000 -> 0x700000029", "0x7000000", "0x0"})},
        {mappings({capsToEscape, entry("0x700000039", "0x7000000")}), nothing, true,
         note(pageNote, {"0x700000039 -> 0x7000000", "0x7000000", "0x0"})},
        {mappings({entry("0xc000000e9", "0x700000029"), capsToEscape}), nothing, true,
         note(pageNote, {"0xc000000e9 -> 0x700000029", "0xc000000e9", "0xc"})},
        {mappings({capsToEscape, entry("0x700000003", "0x700000082")}), nothing, true,
         "hidutil: note: skipping the mapping 0x700000003 -> 0x700000082: 0x700000003 is a "
         "keyboard usage without a key code of its own\n"},
        {mappings({capsToEscape}), unopened(std::errc::no_such_device_or_address, true), true,
         "hidutil: note: skipping /dev/input/event9: its device is gone (No such device or "
         "address)\n"},
        {mappings({capsToEscape}), unopened(std::errc::permission_denied, false), true,
         "hidutil: note: skipping /dev/input/event9, which is no keyboard: Permission denied\n"},
        {mappings({capsToEscape}), refusing(std::errc::invalid_argument), true,
         "hidutil: note: keyboard /dev/input/event6 (Memory Keyboard) has no key for usage "
         "0x39\n"},
        {mappings({capsToEscape}), refusing(std::errc::no_such_device), true,
         "hidutil: note: keyboard /dev/input/event6 (Memory Keyboard) went away: No such "
         "device\n"},
        {mappings({capsToEscape}), unopened(std::errc::permission_denied, true), false,
         "hidutil: cannot open /dev/input/event9: Permission denied\n"
         "hidutil: listing and changing keyboards needs read and write access to "
         "/dev/input/event*:\n"
         "hidutil: add yourself to the group 'input' (sudo usermod -aG input $USER), then log in "
         "again.\n"},
        {mappings({capsToEscape}), refusing(std::errc::operation_not_permitted), false,
         "hidutil: cannot change the keys of /dev/input/event6 (Memory Keyboard): Operation not "
         "permitted\n"},
        {mappings({capsToEscape}),
         [](MemoryDeviceSource&, MemoryKeyboard& other) { other.ignored = {0x70039}; }, false,
         "hidutil: keyboard /dev/input/event6 (Memory Keyboard) did not take a change: scancode "
         "0x70039 gives key code 58, not 1\n"},
        {mappings({capsToEscape}),
         [this](MemoryDeviceSource& source, MemoryKeyboard&) {
             fs::create_directories(*folder);
             std::ofstream(*folder / ("keymap." + source.bootId + ".input6")) << "garbage\n";
         },
         false,
         "hidutil: cannot use " + folder->string() +
             "/keymap.2b3e9c1a-0d4f-4e7a-9b61-5c8d2f0a7e14.input6, the original keys of "
             "/dev/input/event6 (Memory Keyboard): not a record of original keys; its keys are "
             "left as they are\n"},
        {mappings({capsToEscape}),
         [](MemoryDeviceSource& source, MemoryKeyboard&) { source.bootId.clear(); }, false,
         "hidutil: cannot read the boot id (/proc/sys/kernel/random/boot_id), which tells the "
         "keymaps of this boot from those of earlier ones\n"},
    };
    for (const Row& row : rows) {
        auto fine = testing::hidKeyboard(0x27e, 5);
        auto other = testing::hidKeyboard(0x300, 6);
        devices = MemoryDeviceSource();
        devices.keyboards = {fine, other};
        row.setup(devices, *other);
        const Outcome outcome = set(row.list);
        EXPECT_EQ(outcome.err, row.err) << row.list;
        EXPECT_EQ(outcome.status, row.succeeds ? exitSuccess : exitFailure) << row.err;
        EXPECT_EQ(outcome.out.find("UserKeyMapping") != std::string::npos, row.succeeds) << row.err;
        if (row.succeeds) {
            EXPECT_EQ(fine->codeOf(0x70039), KEY_ESC) << row.err;
        }
        fs::remove_all(*folder);
    }

    // A keyboard whose descriptor stops at usage 0x65 gets what it has a key for.
    auto full = testing::hidKeyboard(0x27e, 5);
    auto small = testing::hidKeyboard(0x300, 6, 0x65);
    devices = MemoryDeviceSource();
    devices.keyboards = {full, small};
    const Outcome partly = set(mappings({capsToEscape, entry("0x700000068", "0x700000029")}));
    EXPECT_EQ(partly.status, exitSuccess);
    EXPECT_EQ(partly.err,
              "hidutil: note: keyboard /dev/input/event6 (Memory Keyboard) has no key for usage "
              "0x68\n");
    EXPECT_EQ(small->codeOf(0x70039), KEY_ESC);
    EXPECT_EQ(full->codeOf(0x70068), KEY_ESC);

    folder.reset();
    EXPECT_EQ(set(clear).err,
              "hidutil: neither XDG_STATE_HOME nor HOME is set, so there is nowhere to keep the "
              "original keys\n");
}

TEST_F(Install, MatchingChangesOnlyKeyboardsWithThatProductId) {
    auto first = testing::hidKeyboard(0x27e, 5);
    auto second = testing::hidKeyboard(0x27e, 6);  // another event node of the same product
    auto other = testing::hidKeyboard(0x300, 7);
    auto at = testing::atKeyboard(0);
    devices.keyboards = {at, first, second, other};

    const Outcome matched = run(
        {"property", "--set", mappings({capsToEscape}), "--matching", R"({"ProductID": 0x27E})"});
    ASSERT_EQ(matched.status, exitSuccess) << matched.err;
    EXPECT_EQ(matched.out,
              "RegistryID  Key                   Value\n"
              "100000005   UserKeyMapping   (\n"
              "        {\n"
              "        HIDKeyboardModifierMappingDst = 30064771113;\n"
              "        HIDKeyboardModifierMappingSrc = 30064771129;\n"
              "    }\n"
              ")\n"
              "100000006   UserKeyMapping   (\n"
              "        {\n"
              "        HIDKeyboardModifierMappingDst = 30064771113;\n"
              "        HIDKeyboardModifierMappingSrc = 30064771129;\n"
              "    }\n"
              ")\n");
    EXPECT_EQ(first->codeOf(0x70039), KEY_ESC);
    EXPECT_EQ(second->codeOf(0x70039), KEY_ESC);
    EXPECT_EQ(other->codeOf(0x70039), KEY_CAPSLOCK);
    EXPECT_EQ(at->codeOf(0x3a), KEY_CAPSLOCK);

    const Outcome get =
        run({"property", "--get", "UserKeyMapping", "--matching", R"({"ProductID": 768})"});
    EXPECT_EQ(get.out,
              "RegistryID  Key                   Value\n100000007   UserKeyMapping   (\n)\n");

    const Outcome none = run(
        {"property", "--set", mappings({capsToEscape}), "--matching", R"({"ProductID": 0x999})"});
    EXPECT_EQ(none.status, exitFailure);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "hidutil: no keyboard matches {\"ProductID\": 0x999}\n");
    // A mouse is no keyboard, whatever its product id.
    devices.keyboards.push_back(testing::hidMouse(8));
    EXPECT_EQ(run({"property", "--set", clear, "--matching", R"({"ProductID": 0x99})"}).status,
              exitFailure);
}

TEST_F(Install, RemappedLettersKeepAKeyboardListedAndGetShowsTheList) {
    auto hid = testing::hidKeyboard(0x27e, 5);
    devices.keyboards = {hid, testing::hidMouse(6)};
    EXPECT_EQ(run({"property", "--get", "UserKeyMapping"}).out, "(null)\n");
    std::string all;
    for (unsigned usage = 4; usage <= 0x1d; ++usage) {
        char src[16];
        std::snprintf(src, sizeof src, "0x7000000%02x", usage);
        all += (all.empty() ? "" : ",") + entry(src, "0x700000000");
    }
    ASSERT_EQ(set(R"({"UserKeyMapping" : [)" + all + "]}").status, exitSuccess);
    EXPECT_EQ(hid->codeOf(0x70004), 0u);

    const Outcome listed = run({"list", "-m", "keyboard"});
    EXPECT_EQ(listed.status, exitSuccess);
    EXPECT_NE(listed.out.find("Memory Keyboard"), std::string::npos);
    EXPECT_EQ(listed.out.find("Memory Mouse"), std::string::npos);
    ASSERT_EQ(set(mappings({capsToEscape})).status, exitSuccess);
    EXPECT_EQ(run({"property", "--get", "UserKeyMapping"}).out,
              "(\n        {\n        HIDKeyboardModifierMappingDst = 30064771113;\n"
              "        HIDKeyboardModifierMappingSrc = 30064771129;\n    }\n)\n");
}

}  // namespace
}  // namespace keyvane::hidutil
