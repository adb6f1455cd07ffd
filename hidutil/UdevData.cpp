#include "hidutil/UdevData.h"

#include <charconv>
#include <string>
#include <string_view>

#include "keys/KeyNames.h"

namespace keyvane::hidutil {
namespace {

constexpr std::string_view keyboardLine = "E:ID_INPUT_KEYBOARD=1";
// udev's keyboard builtin applies these; the permanent-keymap helper writes the originals beside.
constexpr std::string_view hwdbKeyPrefix = "E:KEYBOARD_KEY_";
constexpr std::string_view originalKeyPrefix = "E:KEYVANE_ORIGINAL_KEY_";

// "SCANCODE=NAME" after prefix, the scancode in hexadecimal as udev reads it; false when line has
// another prefix.
bool readKey(std::string_view line, std::string_view prefix, Keymap& keymap) {
    if (!line.starts_with(prefix))
        return false;
    line.remove_prefix(prefix.size());
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || equals == 0)
        return true;
    std::uint32_t scancode = 0;
    const char* end = line.data() + equals;
    const auto [stop, error] = std::from_chars(line.data(), end, scancode, 16);
    const auto code = keyCodeNamed(line.substr(equals + 1));
    if (error == std::errc() && stop == end && code)
        keymap[scancode] = *code;
    return true;
}

}  // namespace

void readUdevData(std::istream& data, DeviceInfo& info) {
    info.udevKeyboard = false;
    for (std::string line; std::getline(data, line);) {
        if (line == keyboardLine)
            info.udevKeyboard = true;
        else if (!readKey(line, hwdbKeyPrefix, info.hwdbKeys))
            readKey(line, originalKeyPrefix, info.permanentOriginals);
    }
}

}  // namespace keyvane::hidutil
