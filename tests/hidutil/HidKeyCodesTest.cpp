// The usage -> key code table against the kernel's own, as written down in the data file.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "keys/HidKeyCodes.h"

namespace keyvane {
namespace {

TEST(HidKeyCodes, EqualTheKernelsDefaultTableAndStopAfterIt) {
    std::ifstream in(HIDUTIL_TEST_DATA "/hid-usage-to-linux-key.txt");
    ASSERT_TRUE(in);
    std::string line;
    unsigned rows = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream words(line);
        unsigned scancode = 0;
        int code = -1;
        words >> std::hex >> scancode >> std::dec >> code;
        const unsigned usage = scancode - 0x70000;
        EXPECT_EQ(usage, rows) << line;
        EXPECT_EQ(linuxKeyCodeForUsage(usage), code) << line;
        ++rows;
    }
    EXPECT_EQ(rows, lastKeyboardUsage + 1);
    EXPECT_EQ(linuxKeyCodeForUsage(lastKeyboardUsage + 1), 0);
    EXPECT_EQ(linuxKeyCodeForUsage(0xffffffffu), 0);
}

}  // namespace
}  // namespace keyvane
