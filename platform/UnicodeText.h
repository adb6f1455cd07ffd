#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace keyvane::unicode {

// Letters, marks and numbers of any script (general categories L*, M* and N*).
bool isAlphanumeric(char32_t codePoint);

// The user-perceived characters (extended grapheme clusters) of UTF-8 text, in order; together
// they make up the text again byte for byte. Invalid UTF-8 comes back with replacement characters.
std::vector<std::string> graphemeClusters(std::string_view utf8);

// The canonical composition (NFC) of UTF-8 text, as code points.
std::u32string canonicalCodePoints(std::string_view utf8);

}  // namespace keyvane::unicode
