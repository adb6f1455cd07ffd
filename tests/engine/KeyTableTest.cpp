#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <algorithm>
#include <string>

#include "engine/KeyTable.h"
#include "engine/LinuxKeyCodes.h"
#include "keys/HidKeyCodes.h"

namespace keyvane {
namespace {

// The picker lists every key once, ascending by usage text: "Disable key" first, and each
// separator's usage puts it after the group it closes. Each is found by its exact key id only.
TEST(KeyTable, PickerListsEveryKeyAscendingByUsageAndLookupTakesExactIds) {
    const auto& entries = KeyTable::sortedEntries();
    ASSERT_EQ(entries.size(), 124u);
    EXPECT_TRUE(std::is_sorted(entries.begin(), entries.end(),
                               [](const auto& a, const auto& b) { return a.usage < b.usage; }));
    for (const KeyTable::SortedEntry& entry : entries) {
        const KeyTable::Entry* looked = KeyTable::lookup(entry.keyId);
        ASSERT_NE(looked, nullptr) << entry.keyId;
        EXPECT_EQ(looked->usage, entry.usage) << entry.keyId;
        EXPECT_EQ(looked->name, entry.name) << entry.keyId;
    }
    EXPECT_EQ(entries.front().name, KeyTable::disableKeyName);
    EXPECT_EQ(entries[1].name, KeyTable::separatorName);
    EXPECT_EQ(entries[2].name, "a");
    EXPECT_EQ(entries.back().name, "Right Command");
    EXPECT_EQ(KeyTable::lookup("57")->name, "Caps Lock");
    for (const char* missing : {"63", "010", "", " 0", "901", "65536"})
        EXPECT_EQ(KeyTable::lookup(missing), nullptr) << missing;
}

TEST(LinuxKeyCodes, EveryKeyboardKeyOfTheTableComesBackFromItsKernelKeyCode) {
    int keyboardKeys = 0;
    for (const KeyTable::SortedEntry& entry : KeyTable::sortedEntries()) {
        const unsigned long keyId = std::stoul(entry.keyId);
        if (keyId >= 799)
            continue;  // pseudo keys and separators have no key to press
        ++keyboardKeys;
        const int linuxKeyCode = linuxKeyCodeForUsage(std::stoul(entry.usage, nullptr, 16));
        ASSERT_NE(linuxKeyCode, 0) << entry.name;
        EXPECT_EQ(virtualKeyCodeForLinuxKeyCode(linuxKeyCode), keyId) << entry.name;
    }
    EXPECT_EQ(keyboardKeys, 104);
}

TEST(LinuxKeyCodes, ModifiersAndKeysWithoutAnEntry) {
    for (int none : {0, KEY_F13, KEY_FN, KEY_MUTE, 10000, -8})
        EXPECT_EQ(virtualKeyCodeForLinuxKeyCode(none), std::nullopt) << none;
    for (int key : {KEY_LEFTSHIFT, KEY_RIGHTMETA, KEY_RIGHTCTRL, KEY_CAPSLOCK, KEY_A, KEY_ESC})
        EXPECT_EQ(isModifierLinuxKeyCode(key), key != KEY_A && key != KEY_ESC) << key;
}

}  // namespace
}  // namespace keyvane
