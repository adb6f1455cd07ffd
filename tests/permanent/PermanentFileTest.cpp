#include <gtest/gtest.h>

#include <sstream>

#include "hidutil/Property.h"
#include "permanent/HwdbFile.h"
#include "permanent/PermanentPlan.h"
#include "tests/hidutil/MemoryDevices.h"
#include "tests/support/Golden.h"

namespace keyvane::testing {
namespace {

using permanent::HwdbFile;
using permanent::PermanentKeyboard;

PermanentKeyboard keyboardOf(const MemoryKeyboard& keyboard) {
    return {keyboard.info, hidutil::toKeymap(keyboard.keymap)};
}

// Entries as keyboard usages of two hex digits.
std::vector<hidutil::Mapping> mappingsOf(const std::vector<Entry>& usages) {
    std::vector<Entry> entries;
    for (const auto& [src, dst] : usages)
        entries.emplace_back("0x7000000" + src, "0x7000000" + dst);
    return *hidutil::readUserKeyMapping(userKeyMapping(entries)).value;
}

std::shared_ptr<MemoryKeyboard> named(std::shared_ptr<MemoryKeyboard> keyboard, std::string name) {
    keyboard->info.name = std::move(name);
    return keyboard;
}

// The file written for a list, compared with the one beside the test, and read back as written.
TEST(PermanentFile, MatchesTheGoldenFiles) {
    struct Case {
        const char* golden;
        std::vector<std::shared_ptr<MemoryKeyboard>> keyboards;
        std::vector<Entry> list;
        bool allKeyboards;
    };
    const auto desk = [] { return named(hidKeyboard(0x4444, 1), "Desk Keyboard"); };
    const auto at = [](int n) { return named(atKeyboard(n), "AT Translated Set 2 keyboard"); };
    const std::vector<Case> cases = {
        {"one-keyboard.hwdb", {desk()}, {{"39", "29"}, {"04", "05"}}, false},
        {"all-keyboards.hwdb",
         {desk(), named(hidKeyboard(0x0c31, 2), "Travel"),
          named(hidKeyboard(0x4444, 3), "Desk Keyboard, the second"), at(4)},
         {{"39", "29"}},
         true},
        {"at-keyboard.hwdb", {at(1)}, {{"39", "e0"}, {"e3", "e2"}, {"4c", "2a"}}, false},
        {"disable-key.hwdb", {desk()}, {{"39", "00"}, {"46", "00"}}, false},
        // Return is "enter", Delete "backspace", ` "grave", the ISO key "102nd", Right Option
        // "rightalt", and a usage without a key of its own "unknown".
        {"kernel-names.hwdb",
         {desk()},
         {{"28", "2a"}, {"35", "64"}, {"e6", "28"}, {"39", "82"}, {"2a", "e6"}},
         false},
    };
    for (const Case& each : cases) {
        std::vector<PermanentKeyboard> keyboards;
        for (const auto& keyboard : each.keyboards)
            keyboards.push_back(keyboardOf(*keyboard));
        const HwdbFile file = permanent::permanentFile(keyboards, mappingsOf(each.list),
                                                       std::nullopt, each.allKeyboards);
        const std::string text = permanent::formatHwdbFile(file);
        expectGolden(std::string("golden/") + each.golden, text);
        EXPECT_EQ(permanent::parseHwdbFile(text), file) << each.golden;
    }
}

// Made permanent again over the previous file, a key keeps the original that file kept for it, not
// the code the file gave it; going back to no file resets exactly the keys that file still gives.
TEST(PermanentFile, KeepsWhatLiesBelowThePreviousFile) {
    const auto at = named(atKeyboard(1), "AT keyboard");
    const auto usb = named(hidKeyboard(0x4444, 2), "Desk Keyboard");
    std::vector<PermanentKeyboard> keyboards{keyboardOf(*at), keyboardOf(*usb)};
    const HwdbFile first =
        permanent::permanentFile(keyboards, mappingsOf({{"39", "29"}}), std::nullopt, true);
    for (PermanentKeyboard& keyboard : keyboards)
        for (const permanent::PermanentKey& key :
             first.record(permanent::matchOf(keyboard.info))->keys)
            keyboard.current[key.scancode] = key.keycode;

    const HwdbFile second =
        permanent::permanentFile(keyboards, mappingsOf({{"39", "e0"}}), first, true);
    for (const HwdbFile* file : {&first, &second})
        for (const PermanentKeyboard& keyboard : keyboards) {
            const auto* record = file->record(permanent::matchOf(keyboard.info));
            ASSERT_NE(record, nullptr) << keyboard.info.name;
            for (const permanent::PermanentKey& key : record->keys)
                EXPECT_EQ(key.original, 58u) << "Caps Lock below, scancode " << key.scancode;
        }

    PermanentKeyboard& changedSince = keyboards[1];
    changedSince.current[0x70039] = 30;
    const auto back = permanent::transition(keyboards[0], first, std::nullopt);
    ASSERT_EQ(back.resets.size(), 1u);
    EXPECT_EQ(back.resets[0], (hidutil::KeymapEntry{0x3a, 58}));
    EXPECT_TRUE(permanent::transition(changedSince, first, std::nullopt).resets.empty());
    const auto replaced = permanent::transition(keyboards[0], first, second);
    EXPECT_TRUE(replaced.resets.empty());
    EXPECT_EQ(replaced.expected, (hidutil::Keymap{{0x3a, 29}}));
}

TEST(PermanentFile, ReadsNoFileItDidNotWrite) {
    const std::string ours = permanent::formatHwdbFile(permanent::permanentFile(
        {keyboardOf(*hidKeyboard(0x4444, 1))}, mappingsOf({{"39", "29"}}), std::nullopt, false));
    const std::vector<std::pair<std::string, std::string>> others = {
        {"by hand", "evdev:input:b0003v1D50p4444*\n KEYBOARD_KEY_70039=esc\n"},
        {"a line added", ours + " KEYBOARD_KEY_70004=b\n"},
        {"an unknown key", std::string(ours).replace(ours.find("=esc"), 4, "=escape")},
        {"an original without its key",
         ours + "\nevdev:atkbd:dmi:*\n KEYVANE_ORIGINAL_KEY_3a=esc\n"},
    };
    ASSERT_TRUE(permanent::parseHwdbFile(ours));
    for (const auto& [what, text] : others)
        EXPECT_FALSE(permanent::parseHwdbFile(text)) << what;
}

}  // namespace
}  // namespace keyvane::testing
