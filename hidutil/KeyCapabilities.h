#pragma once

#include <optional>
#include <string_view>

namespace keyvane {

// Whether an input device's key capabilities, as the world-readable sysfs file
// /sys/class/input/eventN/device/capabilities/key gives them, hold every letter key: what makes a
// keyboard for hidutil and for the application alike. Nothing when the text is no such bitmap.
std::optional<bool> capabilitiesHaveEveryLetter(std::string_view bitmap);

}  // namespace keyvane
