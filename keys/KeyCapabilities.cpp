#include "keys/KeyCapabilities.h"

#include <linux/input-event-codes.h>

#include <array>
#include <charconv>
#include <climits>
#include <vector>

namespace keyvane {
namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\t';
}

}  // namespace

// The kernel writes the bitmap as hexadecimal longs, most significant first, and leaves out
// leading zero words.
std::optional<bool> capabilitiesHaveEveryLetter(std::string_view bitmap) {
    constexpr int bitsPerWord = sizeof(unsigned long) * CHAR_BIT;
    std::vector<unsigned long> words;
    for (std::size_t at = 0; at < bitmap.size();) {
        if (isSpace(bitmap[at])) {
            ++at;
            continue;
        }
        std::size_t end = at;
        while (end < bitmap.size() && !isSpace(bitmap[end]))
            ++end;
        unsigned long word = 0;
        const auto [stop, error] =
            std::from_chars(bitmap.data() + at, bitmap.data() + end, word, 16);
        if (error != std::errc() || stop != bitmap.data() + end)
            return std::nullopt;
        words.push_back(word);
        at = end;
    }
    if (words.empty())
        return std::nullopt;
    for (int key : letterKeys) {
        const std::size_t fromEnd = key / bitsPerWord;
        if (fromEnd >= words.size() ||
            ((words[words.size() - 1 - fromEnd] >> (key % bitsPerWord)) & 1UL) == 0)
            return false;
    }
    return true;
}

}  // namespace keyvane
