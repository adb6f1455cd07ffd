#pragma once

#include <cstdio>
#include <string>

// The lists the benchmarks install, as the application composes them.
namespace keyvane::bench {

inline const std::string clearText = R"({"UserKeyMapping" : []})";

// count mappings of consecutive keys, each to the next one.
inline std::string mappingText(int count) {
    std::string text = R"({"UserKeyMapping" : [)";
    for (int i = 0; i < count; ++i) {
        char entry[160];
        std::snprintf(entry, sizeof entry,
                      R"(%s{"HIDKeyboardModifierMappingSrc" : 0x7000000%02x, )"
                      R"("HIDKeyboardModifierMappingDst" : 0x7000000%02x})",
                      i ? "," : "", 4 + i, 5 + i);
        text += entry;
    }
    return text + "]}";
}

}  // namespace keyvane::bench
