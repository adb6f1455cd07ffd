#pragma once

#include <cstdint>
#include <string>

namespace keyvane {

// A key press as the capture window sees it: the key's macOS virtual key code (the key table's
// key id), or a pseudo code for keys that only the picker offers. Picks make these too; they are
// never sent to the system.
struct KeyEvent {
    std::uint16_t keyCode = 0;
    std::string description;
    std::string character;  // what the user's layout types with it (UTF-8), if anything
};

}  // namespace keyvane
