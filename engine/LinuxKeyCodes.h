#pragma once

#include <cstdint>
#include <optional>

namespace keyvane {

// The macOS virtual key code (the key table's key id) of a Linux key code, or nothing for keys the
// table does not hold. Derived from the key table itself: each keyboard key's usage gives the
// kernel's default key code for it, so the two can never disagree.
std::optional<std::uint16_t> virtualKeyCodeForLinuxKeyCode(int linuxKeyCode);

// Whether a Linux key code is one of the modifier keys, whose presses and releases both count.
bool isModifierLinuxKeyCode(int linuxKeyCode);

}  // namespace keyvane
