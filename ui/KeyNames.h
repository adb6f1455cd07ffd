#pragma once

#include <string_view>

namespace keyvane {

// What a PC keyboard calls the keys that the key table names as on a Mac; empty for the others.
// Shown as tooltips, so that "Command" is found on a keyboard that says "Super" or has a logo.
constexpr std::string_view pcKeyName(std::string_view name) {
    if (name == "Command")
        return "Left Super (Windows logo) key";
    if (name == "Right Command")
        return "Right Super (Windows logo) key";
    if (name == "Option")
        return "Left Alt";
    if (name == "Right Option")
        return "Right Alt (AltGr)";
    return {};
}

}  // namespace keyvane
