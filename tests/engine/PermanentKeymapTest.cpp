#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/PermanentKeymap.h"

namespace keyvane {
namespace {

KeyMapping from(const std::string& originalId, const std::string& remappedId = "29") {
    return {{"originalId", originalId}, {"remappedId", remappedId}};
}

// A password is typed with letters, digits, Enter, Backspace and the Shifts: a list that moves or
// disables one of them is named before it reaches the login screen. Other keys, and keys that
// only become one of them, are not.
TEST(PermanentKeymapTest, PasswordKeysAreTheLettersDigitsEnterBackspaceAndShiftsMovedOrDisabled) {
    const struct {
        std::vector<KeyMapping> list;
        std::vector<std::string> named;
    } rows[] = {
        {{}, {}},
        {{from("39")}, {}},                                // Caps Lock
        {{from("29", "04"), from("e0"), from("2b")}, {}},  // Escape -> a, Control, Tab
        {{from("04"), from("1d"), from("1e"), from("27")}, {"a", "z", "1", "0"}},
        {{from("03"), from("1f"), from("3a")}, {"2"}},  // below a, and F1
        {{from("28"), from("2a", "00"), from("e1"), from("e5")},
         {"Enter", "Backspace", "Shift", "Right Shift"}},
        {{from("29"), from("e2"), from("e6")}, {}},           // Escape, Option, Right Option
        {{from("14"), from("14", "00"), from("39")}, {"q"}},  // each once
        {{from("1D"), from("4"), from("x04"), from(""), {{"remappedId", "04"}}}, {"z"}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(PermanentKeymap::passwordKeys(row.list), row.named) << "row " << &row - rows;
}

}  // namespace
}  // namespace keyvane
