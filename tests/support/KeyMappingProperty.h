#pragma once

#include <string>
#include <utility>
#include <vector>

namespace keyvane::testing {

// The property text the application composes for (original, new) keyboard usages, each given as
// the digits after 0x7000000 ("39", "29"; an empty one is a blank id).
inline std::string keyMappingProperty(
    const std::vector<std::pair<std::string, std::string>>& usages) {
    std::string entries;
    for (const auto& [src, dst] : usages)
        entries += std::string(entries.empty() ? "" : ",") +
                   R"({"HIDKeyboardModifierMappingSrc" : 0x7000000)" + src +
                   R"(, "HIDKeyboardModifierMappingDst" : 0x7000000)" + dst + "}";
    return R"({"UserKeyMapping" : [)" + entries + "]}";
}

}  // namespace keyvane::testing
