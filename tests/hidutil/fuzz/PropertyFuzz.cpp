// Fuzz target for the property texts: whatever the bytes, reading them must neither crash nor
// report an error outside the text, and what is accepted must be printable.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "hidutil/Output.h"
#include "hidutil/Property.h"
#include "hidutil/PropertyText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace keyvane::hidutil;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto parsed = parsePropertyText(text);
    if (!parsed.value && parsed.error.position > size)
        std::abort();
    const auto mappings = readUserKeyMapping(text);
    if (mappings.value) {
        if (!parsed.value || formatEcho(*mappings.value).empty())
            std::abort();
    } else if (mappings.error.position > size || mappings.error.expected.empty()) {
        std::abort();
    }
    const auto matching = readMatching(text);
    if (!matching.value && matching.error.position > size)
        std::abort();
    return 0;
}
