#include "engine/LinuxKeyCodes.h"

#include <string>
#include <unordered_map>

#include "engine/KeyTable.h"
#include "keys/HidKeyCodes.h"

namespace keyvane {
namespace {

// Key ids from here on are pseudo keys and separators, which no key event carries.
constexpr unsigned long firstPseudoKeyId = 799;

std::unordered_map<int, std::uint16_t> buildTranslation() {
    std::unordered_map<int, std::uint16_t> translation;
    for (const KeyTable::SortedEntry& entry : KeyTable::sortedEntries()) {
        const unsigned long keyId = std::stoul(entry.keyId);
        if (keyId >= firstPseudoKeyId)
            continue;
        const int linuxKeyCode = linuxKeyCodeForUsage(std::stoul(entry.usage, nullptr, 16));
        if (linuxKeyCode != 0)
            translation.emplace(linuxKeyCode, static_cast<std::uint16_t>(keyId));
    }
    return translation;
}

}  // namespace

std::optional<std::uint16_t> virtualKeyCodeForLinuxKeyCode(int linuxKeyCode) {
    static const std::unordered_map<int, std::uint16_t> translation = buildTranslation();
    auto found = translation.find(linuxKeyCode);
    if (found == translation.end())
        return std::nullopt;
    return found->second;
}

bool isModifierLinuxKeyCode(int linuxKeyCode) {
    // Right Command (54) to Right Control (62), Caps Lock among them.
    constexpr std::uint16_t firstModifier = 54, lastModifier = 62;
    std::optional<std::uint16_t> virtualKeyCode = virtualKeyCodeForLinuxKeyCode(linuxKeyCode);
    return virtualKeyCode && *virtualKeyCode >= firstModifier && *virtualKeyCode <= lastModifier;
}

}  // namespace keyvane
