#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace keyvane {

// Key codes by the names udev's hwdb files give them (KEYBOARD_KEY_70039=esc): the kernel's KEY_
// names in lower case, without "KEY_".

// The name of a key code; a code without a name of its own is written as its number, which udev
// takes as well.
std::string keyName(std::uint32_t keyCode);
// The code of a name, or of a number as udev reads one; nothing for anything else.
std::optional<std::uint32_t> keyCodeNamed(std::string_view name);

}  // namespace keyvane
