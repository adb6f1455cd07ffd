#pragma once

#include <linux/input-event-codes.h>

#include <array>
#include <optional>
#include <string_view>

namespace keyvane {

// The letter key codes, scattered over three keyboard rows, so KEY_A..KEY_Z is no range.
inline constexpr std::array<int, 26> letterKeys = {
    KEY_A, KEY_B, KEY_C, KEY_D, KEY_E, KEY_F, KEY_G, KEY_H, KEY_I, KEY_J, KEY_K, KEY_L, KEY_M,
    KEY_N, KEY_O, KEY_P, KEY_Q, KEY_R, KEY_S, KEY_T, KEY_U, KEY_V, KEY_W, KEY_X, KEY_Y, KEY_Z};

// Whether an input device's key capabilities, as the world-readable sysfs file
// /sys/class/input/eventN/device/capabilities/key gives them, hold every letter key: what makes a
// keyboard for hidutil and for the application alike. Nothing when the text is no such bitmap.
std::optional<bool> capabilitiesHaveEveryLetter(std::string_view bitmap);

}  // namespace keyvane
