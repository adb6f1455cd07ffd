#include "common/Utf8.h"

namespace keyvane {

Utf8Step decodeUtf8At(std::string_view text, std::size_t position) {
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byteAt(position);
    if (lead < 0x80)
        return {true, lead, 1};
    std::size_t length = 0;
    char32_t codePoint = 0;
    char32_t smallest = 0;
    if ((lead & 0xE0) == 0xC0) {
        length = 2;
        codePoint = lead & 0x1F;
        smallest = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3;
        codePoint = lead & 0x0F;
        smallest = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4;
        codePoint = lead & 0x07;
        smallest = 0x10000;
    } else {
        return {};
    }
    if (position + length > text.size())
        return {};
    for (std::size_t k = 1; k < length; ++k) {
        const unsigned char next = byteAt(position + k);
        if ((next & 0xC0) != 0x80)
            return {};
        codePoint = (codePoint << 6) | (next & 0x3F);
    }
    if (codePoint < smallest || codePoint > 0x10FFFF ||
        (codePoint >= 0xD800 && codePoint <= 0xDFFF))
        return {};
    return {true, codePoint, length};
}

bool isValidUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const Utf8Step step = decodeUtf8At(text, i);
        if (!step.valid)
            return false;
        i += step.length;
    }
    return true;
}

void appendUtf8(std::string& text, char32_t codePoint) {
    const auto put = [&](unsigned value) { text += static_cast<char>(value); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | (codePoint >> 6));
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        put(0xE0 | (codePoint >> 12));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        put(0xF0 | (codePoint >> 18));
        put(0x80 | ((codePoint >> 12) & 0x3F));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    }
}

std::string decodeUtf8Lossily(std::string bytes) {
    if (isValidUtf8(bytes))
        return bytes;
    std::string text;
    text.reserve(bytes.size() + 8);
    for (std::size_t i = 0; i < bytes.size();) {
        const Utf8Step step = decodeUtf8At(bytes, i);
        if (step.valid)
            text.append(bytes, i, step.length);
        else
            text += "\xEF\xBF\xBD";
        i += step.length;
    }
    return text;
}

}  // namespace keyvane
