// Installing and restoring keymaps against keyboards in memory, through the command line.
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "hidutil/Command.h"
#include "hidutil/Output.h"
#include "tests/hidutil/MemoryDevices.h"

namespace keyvane::hidutil {
namespace {

using testing::MemoryDeviceSource;
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
const std::string aToB = entry("0x700000004", "0x700000005");
const std::string bToA = entry("0x700000005", "0x700000004");
const std::vector<Mapping> capsToEscapeList = {{0x700000039, 0x700000029}};

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

TEST_F(Install, MapsHidKeyboardsByUsageAndOthersByKeyCode) {
    auto hid = testing::hidKeyboard(0x27e, 5);
    auto at = testing::atKeyboard(0);
    devices.keyboards = {at, hid};
    const std::string list = mappings({capsToEscape, escapeToCaps, aToB,
                                       entry("0x700000004", "0x700000006"),  // the later one wins
                                       entry("0x70000004c", "0x700000000")});
    const Outcome swapped = set(list);
    ASSERT_EQ(swapped.status, exitSuccess) << swapped.err;
    const std::pair<unsigned, unsigned> hidCodes[] = {{0x70039, KEY_ESC},
                                                      {0x70029, KEY_CAPSLOCK},
                                                      {0x70004, KEY_C},
                                                      {0x7004c, 0},
                                                      // Other Delete usages are other keys.
                                                      {0x7009c, KEY_DELETE}};
    for (const auto& [scancode, code] : hidCodes)
        EXPECT_EQ(hid->codeOf(scancode), code) << std::hex << scancode;
    // Every AT scancode that produced Delete goes silent.
    const std::pair<unsigned, unsigned> atCodes[] = {
        {0x3a, KEY_ESC}, {0x01, KEY_CAPSLOCK}, {0x1e, KEY_C}, {0x80 | 0x53, 0}, {0x80 | 0x71, 0}};
    for (const auto& [scancode, code] : atCodes)
        EXPECT_EQ(at->codeOf(scancode), code) << std::hex << scancode;
    // Installing the same list again changes nothing that is already in place.
    const int changes = hid->changes;
    ASSERT_EQ(set(list).status, exitSuccess);
    EXPECT_EQ(hid->changes, changes);
}

// Clearing puts back exactly the keymaps found before the first run, a remap that another tool
// (udev's hwdb) made beforehand included, whatever happened between, and leaves no record behind.
TEST_F(Install, ClearingRestoresExactlyWhatWasFoundWhateverHappenedBetween) {
    const std::string reboot = "reboot", replug = "replug", firstFormat = "first format";
    struct Step {
        std::string text;  // a list to install, or what happens to the machine
        int killAfter = -1;
        bool killOnAt = false;
    };
    struct Row {
        const char* what;
        std::vector<Step> steps;
    };
    // A boot keyboard lists its modifiers twice.
    const std::string swap =
        mappings({aToB, bToA, capsToEscape, entry("0x7000000e3", "0x7000000e7")});
    std::vector<Row> rows = {
        {"clearing alone", {{clear}, {clear}}},
        {"an install over the remapped key", {{mappings({capsToEscape})}, {clear}}},
        {"a list replacing another", {{swap}, {mappings({escapeToCaps})}, {clear}}},
        // Still a keyboard, although it lacks a letter now.
        {"a letter disabled", {{mappings({entry("0x700000004", "0x700000000")})}, {clear}}},
        {"a reboot leaves records of no use", {{swap}, {reboot}, {clear}, {swap}, {clear}}},
        {"a replugged keyboard is another device", {{swap}, {replug}, {swap}, {clear}}},
        // An older hidutil, earlier in this boot, kept no skipped keys (the AT keyboard has no
        // F13).
        {"records of the first format",
         {{mappings({aToB, entry("0x700000068", "0x700000029")})}, {firstFormat}, {swap}, {clear}}},
    };
    // Killed after each change, on a clean keymap (the application clears first) and over a list.
    // The AT keyboard has no Caps Lock left to map, so it changes one key less.
    for (const auto& [before, list, hidChanges] :
         {std::tuple{clear, swap, 4}, std::tuple{swap, mappings({escapeToCaps}), 5}})
        for (bool onAt : {true, false})
            for (int changes = 0; changes < hidChanges - onAt; ++changes)
                rows.push_back(
                    {"killed part way", {{swap}, {before}, {list, changes, onAt}, {clear}}});

    for (const Row& row : rows) {
        auto hid = testing::hidKeyboard(0x27e, 5);
        auto at = testing::atKeyboard(0);
        hid->set(0x70039, KEY_LEFTCTRL);
        at->set(0x3a, KEY_LEFTCTRL);
        devices.keyboards = {at, hid};
        const auto hidBefore = hid->keymap, atBefore = at->keymap;
        for (const Step& step : row.steps) {
            if (step.text == reboot) {
                devices.bootId = "8c41d0e6-5f2a-4b93-a7e8-1d6c9b3f0a25";
                hid->keymap = hidBefore;
                at->keymap = atBefore;
            } else if (step.text == replug) {
                hid = testing::hidKeyboard(0x27e, 5);
                hid->info.instance = "input9";
                hid->keymap = hidBefore;
                devices.keyboards = {at, hid};
            } else if (step.text == firstFormat) {
                std::string skipped;
                for (const auto& name : keymapRecords()) {
                    std::ifstream in(*folder / name);
                    std::string line, content = "keyvane-keymap-record 1\n";
                    for (std::getline(in, line); std::getline(in, line);)
                        (line.rfind("skipped", 0) == 0 ? skipped : content) += line + "\n";
                    std::ofstream(*folder / name) << content;
                }
                EXPECT_EQ(skipped, "skipped 0x68\n");
            } else if (step.killAfter >= 0) {
                testing::MemoryKeyboard& killed = step.killOnAt ? *at : *hid;
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
        fs::remove_all(*folder);
    }
}

// Each row installs Caps Lock -> Escape on a keyboard that takes it, beside something that is
// only worth a note (success: the echo, the key installed) or that fails the install (no echo).
TEST_F(Install, WhatIsLeftOutIsANoteAndWhatIsNotTakenAFailure) {
    struct Row {
        std::string list = mappings({capsToEscape});
        std::optional<std::errc> unopened = {};  // event9 cannot be opened
        bool unopenedKeyboard = true;
        std::optional<std::errc> refusal = {};  // event6 refuses every change
        bool ignores = false;                   // event6 does not take Caps Lock's change
        const char* record = nullptr;           // the content of event6's record
        bool succeeds = true;
        std::string err;
        const char* statusOfOther = nullptr;  // the state status reads back on event6
    };
    const Row rows[] = {
        // The application writes 0x7000000 for an id left blank.
        {.list = mappings({entry("0x7000000", "0x700000029"), capsToEscape}),
         .err = "hidutil: note: skipping the mapping 0x7000000 -> 0x700000029: 0x7000000 is not "
                "a usage of the keyboard page 7 (it is on page 0x0)\n"},
        {.list = mappings({capsToEscape, entry("0x700000003", "0x700000082")}),
         .err = "hidutil: note: skipping the mapping 0x700000003 -> 0x700000082: 0x700000003 is a "
                "keyboard usage without a key code of its own\n"},
        {.unopened = std::errc::no_such_device_or_address,
         .err = "hidutil: note: skipping /dev/input/event9: its device is gone (No such device or "
                "address)\n"},
        {.unopened = std::errc::permission_denied,
         .unopenedKeyboard = false,
         .err = "hidutil: note: skipping /dev/input/event9, which is no keyboard: Permission "
                "denied\n"},
        // The kernel knows the keyboard's keys better than its keymap listing did.
        {.refusal = std::errc::invalid_argument,
         .err = "hidutil: note: keyboard /dev/input/event6 (Memory Keyboard) has no key for usage "
                "0x39\n",
         .statusOfOther = "skipped"},
        {.refusal = std::errc::no_such_device,
         .err = "hidutil: note: keyboard /dev/input/event6 (Memory Keyboard) went away: No such "
                "device\n"},
        {.unopened = std::errc::permission_denied,
         .succeeds = false,
         .err = "hidutil: cannot open /dev/input/event9: Permission denied\nhidutil: listing and "
                "changing keyboards needs read and write access to /dev/input/event*:\nhidutil: "
                "add yourself to the group 'input' (sudo usermod -aG input $USER), then log in "
                "again.\n"},
        {.refusal = std::errc::operation_not_permitted,
         .succeeds = false,
         .err = "hidutil: cannot change the keys of /dev/input/event6 (Memory Keyboard): "
                "Operation not permitted\n"},
        {.ignores = true,
         .succeeds = false,
         .err = "hidutil: keyboard /dev/input/event6 (Memory Keyboard) did not take a change: "
                "scancode 0x70039 gives key code 58, not 1\n"},
        // A damaged record is never replaced by one that takes changed keys for originals.
        {.record = "garbage\n",
         .succeeds = false,
         .err = "hidutil: cannot use " + folder->string() + "/keymap." + devices.bootId +
                ".input6, the original keys of /dev/input/event6 (Memory Keyboard): not a "
                "record of original keys; its keys are left as they are\n"},
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
        EXPECT_EQ(outcome.err, row.err) << row.list;
        EXPECT_EQ(outcome.status, row.succeeds ? exitSuccess : exitFailure) << row.err;
        EXPECT_EQ(outcome.out.find("UserKeyMapping") != std::string::npos, row.succeeds) << row.err;
        EXPECT_EQ(fine->codeOf(0x70039), KEY_ESC) << row.err;
        if (row.statusOfOther) {
            const std::string line =
                "0x100000006 Memory Keyboard\nmapping 0x700000039 0x700000029 ";
            EXPECT_NE(run({"status"}).out.find(line + row.statusOfOther + "\n"), std::string::npos);
        }
        fs::remove_all(*folder);
    }

    // A keyboard whose descriptor stops at usage 0x65 gets what it has a key for, and status reads
    // back what became of each entry: a key changed since (as udev's hwdb does) is overridden until
    // the list is installed again.
    auto full = testing::hidKeyboard(0x27e, 5);
    auto small = testing::hidKeyboard(0x300, 6, 0x65);
    small->info.name = "Small \"Keyboard\"\n";
    devices = MemoryDeviceSource();
    devices.keyboards = {full, small, testing::atKeyboard(1), testing::hidMouse(2)};
    const std::string list =
        mappings({capsToEscape, entry("0x700000068", "0x700000029"), entry("0x7000000", "0x7")});
    run({"property", "--set", list, "--matching", R"({"VendorID": 0x1d50})"});
    EXPECT_EQ(small->codeOf(0x70039), KEY_ESC);
    EXPECT_EQ(full->codeOf(0x70068), KEY_ESC);
    full->set(0x70039, KEY_LEFTCTRL);
    const Outcome status = run({"status"});
    EXPECT_EQ(status.status, exitOverridden) << status.err;
    EXPECT_EQ(status.out,
              "keyboard 0x27e USB 0x100000005 Memory Keyboard\n"
              "mapping 0x700000039 0x700000029 overridden\n"
              "mapping 0x700000068 0x700000029 installed\n"
              "mapping 0x7000000 0x7 unusable\n"
              "keyboard 0x300 USB 0x100000006 Small \"Keyboard\" \n"
              "mapping 0x700000039 0x700000029 installed\n"
              "mapping 0x700000068 0x700000029 skipped\n"
              "mapping 0x7000000 0x7 unusable\n"
              "keyboard 0x1 Internal 0x100000001 AT Translated Set 2 keyboard\n");
    ASSERT_EQ(set(list).status, exitSuccess);
    const Outcome json = run({"status", "--json"});
    EXPECT_EQ(json.status, exitSuccess);
    EXPECT_EQ(
        json.out.rfind(
            "{\"Keyboards\": [\n  {\"Product\": \"Memory Keyboard\", \"ProductID\": 638, "
            "\"Transport\": \"USB\", \"RegistryID\": 4294967301, \"UserKeyMapping\": [\n    "
            "{\"HIDKeyboardModifierMappingSrc\": 30064771129, \"HIDKeyboardModifierMappingDst\": "
            "30064771113, \"State\": \"installed\"},\n",
            0),
        0u)
        << json.out;
    EXPECT_NE(json.out.find(R"({"Product": "Small \"Keyboard\"\u000a", "ProductID": 768)"),
              std::string::npos);
    devices.bootId.clear();
    EXPECT_EQ(set(clear).err,
              "hidutil: cannot read the boot id (/proc/sys/kernel/random/boot_id), "
              "which tells the keymaps of this boot from those of earlier ones\n");
    folder.reset();
    EXPECT_EQ(set(clear).err,
              "hidutil: neither XDG_STATE_HOME nor HOME is set, so there is "
              "nowhere to keep the original keys\n");
}

TEST_F(Install, MatchingChangesOnlyKeyboardsWithThatProductId) {
    auto first = testing::hidKeyboard(0x27e, 5);
    auto second = testing::hidKeyboard(0x27e, 6);  // another event node of the same product
    auto other = testing::hidKeyboard(0x300, 7);
    auto at = testing::atKeyboard(0);
    devices.keyboards = {at, first, second, other};

    EXPECT_EQ(run({"property", "--get", "UserKeyMapping"}).out, "(null)\n");
    const Outcome matched = run(
        {"property", "--set", mappings({capsToEscape}), "--matching", R"({"ProductID": 0x27E})"});
    ASSERT_EQ(matched.status, exitSuccess) << matched.err;
    EXPECT_EQ(matched.out,
              formatMatchedEcho({0x100000005, 0x100000006}, {capsToEscapeList, capsToEscapeList}));
    EXPECT_EQ(first->codeOf(0x70039), KEY_ESC);
    EXPECT_EQ(second->codeOf(0x70039), KEY_ESC);
    EXPECT_EQ(other->codeOf(0x70039), KEY_CAPSLOCK);
    EXPECT_EQ(at->codeOf(0x3a), KEY_CAPSLOCK);

    const Outcome get =
        run({"property", "--get", "UserKeyMapping", "--matching", R"({"ProductID": 768})"});
    EXPECT_EQ(get.out, formatMatchedEcho({0x100000007}, {{}}));

    const Outcome none = run(
        {"property", "--set", mappings({capsToEscape}), "--matching", R"({"ProductID": 0x999})"});
    EXPECT_EQ(none.status, exitFailure);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "hidutil: no keyboard matches {\"ProductID\": 0x999}\n");
    // A mouse is no keyboard, whatever its product id.
    devices.keyboards.push_back(testing::hidMouse(8));
    EXPECT_EQ(run({"property", "--set", clear, "--matching", R"({"ProductID": 0x99})"}).status,
              exitFailure);
    // Without --matching, the list is kept for all keyboards.
    ASSERT_EQ(set(mappings({capsToEscape})).status, exitSuccess);
    EXPECT_EQ(run({"property", "--get", "UserKeyMapping"}).out,
              formatMappingList(capsToEscapeList));
}

}  // namespace
}  // namespace keyvane::hidutil
