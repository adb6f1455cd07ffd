// The usage -> key code table against the kernel's own, as written down in the data file.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "hidutil/HidKeyCodes.h"

namespace keyvane {
namespace {

TEST(HidKeyCodes, EqualTheKernelsDefaultTableAndStopAfterIt) {
    std::ifstream in(HID_KEYCODE_TABLE);
    ASSERT_TRUE(in) << HID_KEYCODE_TABLE;
    std::string line;
    unsigned rows = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream words(line);
        std::string scancode;
        int code = -1;
        words >> scancode >> code;
        const unsigned usage = std::stoul(scancode, nullptr, 16) - 0x70000;
        EXPECT_EQ(usage, rows) << line;
        EXPECT_EQ(linuxKeyCodeForUsage(usage), code) << line;
        ++rows;
    }
    EXPECT_EQ(rows, lastKeyboardUsage + 1);
    EXPECT_EQ(linuxKeyCodeForUsage(lastKeyboardUsage + 1), 0);
    EXPECT_EQ(linuxKeyCodeForUsage(0xffffffffu), 0);

    // Back from key codes: the lowest usage of a shared code, nothing for no key or "unknown".
    EXPECT_EQ(usageForLinuxKeyCode(58), 0x39);   // Caps Lock
    EXPECT_EQ(usageForLinuxKeyCode(43), 0x31);   // Backslash, also Non-US #
    EXPECT_EQ(usageForLinuxKeyCode(111), 0x4c);  // Delete, also 0x9c and 0xd8
    EXPECT_EQ(usageForLinuxKeyCode(126), 0xe7);  // Right Meta
    EXPECT_EQ(usageForLinuxKeyCode(0), -1);
    EXPECT_EQ(usageForLinuxKeyCode(240), -1);
    EXPECT_EQ(usageForLinuxKeyCode(164), -1);  // Play/Pause is on the consumer page
    for (unsigned usage = 4; usage <= lastKeyboardUsage; ++usage) {
        const int code = linuxKeyCodeForUsage(usage);
        if (code == 0 || code == unknownKeyCode)
            continue;
        EXPECT_EQ(linuxKeyCodeForUsage(static_cast<unsigned>(usageForLinuxKeyCode(code))), code);
    }
}

}  // namespace
}  // namespace keyvane
