#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "engine/KeyTable.h"

namespace keyvane {
namespace {

const std::string sep(KeyTable::separatorName);

TEST(KeyTable, LookupFindsExactKeyIdsOnly) {
    struct Row {
        const char* keyId;
        const char* usage;
        const char* name;
    };
    for (const Row& row : std::vector<Row>{{"0", "04", "a"},
                                           {"57", "39", "Caps Lock"},
                                           {"53", "29", "Escape"},
                                           {"27", "2d", "- Hypen/Dash"},
                                           {"10", "64", "§ Section"},
                                           {"905", "64", "Non-US \\ and |"},
                                           {"911", "7d", "Paste"},
                                           {"916", "00", "Disable key"},
                                           {"799", "00a", "----------"}}) {
        const KeyTable::Entry* entry = KeyTable::lookup(row.keyId);
        ASSERT_NE(entry, nullptr) << row.keyId;
        EXPECT_EQ(entry->usage, row.usage) << row.keyId;
        EXPECT_EQ(entry->name, row.name) << row.keyId;
    }
    for (const char* missing : {"63", "52", "112", "010", "", " 0", "901", "907", "127", "65536"})
        EXPECT_EQ(KeyTable::lookup(missing), nullptr) << missing;
}

TEST(KeyTable, PickerOrderGroupsKeysBetweenSeparators) {
    // Equal usages ("64") have no defined order between them; everything else is fixed.
    // clang-format off
    const std::vector<std::string> expected = {
        "Disable key", sep,
        "a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l", "m", "n", "o", "p", "q", "r",
        "s", "t", "u", "v", "w", "x", "y", "z", sep,
        "1", "2", "3", "4", "5", "6", "7", "8", "9", "0", sep,
        "Enter", "Escape", "Backspace", "Tab", "Space", "- Hypen/Dash", "= Equal", "[", "]",
        "\\ Backslash", "Non-US # and ~", "; Semicolon", "' Quote/Apostrophe", "` Tilde/Grave",
        ", Comma", ". Period", "/ Slash", "Caps Lock", sep,
        "F1", "F2", "F3", "F4", "F5", "F6", "F7", "F8", "F9", "F10", "F11", "F12", sep,
        "Print Screen", "Scroll lock", "Pause", "Insert", "Home", "Page Up", "Delete", "End",
        "Page Down", "Right Arrow", "Left Arrow", "Down Arrow", "Up Arrow", sep,
        "Keypad Clear", "Keypad Divide", "Keypad Multiply", "Keypad Minus", "Keypad Plus",
        "Keypad Enter", "Keypad 1", "Keypad 2", "Keypad 3", "Keypad 4", "Keypad 5", "Keypad 6",
        "Keypad 7", "Keypad 8", "Keypad 9", "Keypad 0", "Keypad Decimal", sep,
        "64", "64", "Mail Compose", "Undo", "Cut", "Copy", "Paste", "Find", "Mute", "Volume up",
        "Volume down", sep,
        "Control", "Shift", "Option", "Command", "Right Control", "Right Shift", "Right Option",
        "Right Command"};
    // clang-format on

    const auto& entries = KeyTable::sortedEntries();
    ASSERT_EQ(entries.size(), 124u);
    ASSERT_EQ(expected.size(), 124u);
    std::set<std::string> sharedUsage;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (expected[i] == "64") {
            EXPECT_EQ(entries[i].usage, "64");
            sharedUsage.insert(entries[i].name);
        } else {
            EXPECT_EQ(entries[i].name, expected[i]) << "position " << i;
        }
    }
    EXPECT_EQ(sharedUsage, (std::set<std::string>{"§ Section", "Non-US \\ and |"}));
}

}  // namespace
}  // namespace keyvane
