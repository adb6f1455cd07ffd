#include "keys/KeyNames.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <charconv>
#include <iterator>

namespace keyvane {
namespace {

struct NamedKey {
    std::string_view name;
    std::uint32_t code;
};

// Generated from the kernel's header at build time: a code's own name comes before its aliases.
constexpr NamedKey namedKeys[] = {
#include "KeyNames.inc"
};

}  // namespace

std::string keyName(std::uint32_t keyCode) {
    const auto found = std::find_if(std::begin(namedKeys), std::end(namedKeys),
                                    [&](const NamedKey& key) { return key.code == keyCode; });
    return found == std::end(namedKeys) ? std::to_string(keyCode) : std::string(found->name);
}

std::optional<std::uint32_t> keyCodeNamed(std::string_view name) {
    for (const NamedKey& key : namedKeys)
        if (key.name == name)
            return key.code;
    std::uint32_t code = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), code);
    if (name.empty() || error != std::errc() || end != name.data() + name.size() || code > KEY_MAX)
        return std::nullopt;
    return code;
}

}  // namespace keyvane
