#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace keyvane {

// One step through UTF-8 text: the code point that starts at a position and its length in bytes.
// An invalid sequence (overlong, surrogate, beyond U+10FFFF, cut short, stray continuation byte)
// is reported as one invalid byte.
struct Utf8Step {
    bool valid = false;
    char32_t codePoint = 0;
    std::size_t length = 1;
};

Utf8Step decodeUtf8At(std::string_view text, std::size_t position);
bool isValidUtf8(std::string_view text);
void appendUtf8(std::string& text, char32_t codePoint);

// Replaces every invalid byte by U+FFFD; valid text comes back unchanged.
std::string decodeUtf8Lossily(std::string bytes);

}  // namespace keyvane
