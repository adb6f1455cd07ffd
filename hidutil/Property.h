#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "hidutil/PropertyText.h"

namespace keyvane::hidutil {

// One "HIDKeyboardModifierMappingSrc -> Dst" pair, as written: usage page in the upper 32 bits,
// usage in the lower ones.
struct Mapping {
    std::uint64_t src = 0;
    std::uint64_t dst = 0;

    unsigned srcUsage() const { return static_cast<unsigned>(src & 0xffffffffu); }
    unsigned dstUsage() const { return static_cast<unsigned>(dst & 0xffffffffu); }
    bool operator==(const Mapping&) const = default;
};

inline constexpr std::uint64_t keyboardPage = 7;

// Which devices a --matching text selects; an absent field matches everything.
struct Matching {
    std::optional<std::uint64_t> productId, vendorId, locationId, usagePage, usage;
    std::optional<std::string> transport, product;
};

template <typename T>
struct Checked {
    std::optional<T> value;
    TextError error;
};

// The UserKeyMapping list of a --set text, every entry as written.
Checked<std::vector<Mapping>> readUserKeyMapping(std::string_view text);

// Why an entry cannot be installed, or nothing when it can: both usages must be on the keyboard
// page and have a key code; a destination may also be usage 0, which makes the key produce nothing.
// The application writes 0x7000000 for an id left blank.
std::optional<std::string> whyUnusable(const Mapping& mapping);
// The entries that can be installed; each of the others is skipped with a note.
std::vector<Mapping> usableMappings(const std::vector<Mapping>& mappings, std::ostream& notes);
Checked<Matching> readMatching(std::string_view text);

}  // namespace keyvane::hidutil
