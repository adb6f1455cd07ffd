#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <string>

#include "engine/KeyTable.h"
#include "engine/LinuxKeyCodes.h"
#include "keys/HidKeyCodes.h"

namespace keyvane {
namespace {

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
    for (int key : {KEY_LEFTSHIFT, KEY_RIGHTMETA, KEY_CAPSLOCK, KEY_A, KEY_ESC})
        EXPECT_EQ(isModifierLinuxKeyCode(key), key != KEY_A && key != KEY_ESC) << key;
}

}  // namespace
}  // namespace keyvane
