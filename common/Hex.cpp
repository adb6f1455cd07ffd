#include "common/Hex.h"

namespace keyvane {
namespace {

constexpr char lowerDigits[] = "0123456789abcdef";
constexpr char upperDigits[] = "0123456789ABCDEF";

}  // namespace

std::string hexNumber(std::uint64_t value) {
    char digits[16];
    int length = 0;
    do {
        digits[length++] = lowerDigits[value & 0xf];
        value >>= 4;
    } while (value);
    std::string text = "0x";
    while (length)
        text += digits[--length];
    return text;
}

std::optional<std::uint64_t> parseHex(std::string_view digits) {
    if (digits.empty() || digits.size() > 16)
        return std::nullopt;
    std::uint64_t value = 0;
    for (char c : digits) {
        const int digit = hexDigitValue(c);
        if (digit < 0)
            return std::nullopt;
        value = value << 4 | static_cast<unsigned>(digit);
    }
    return value;
}

int hexDigitValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

void appendHexByte(std::string& text, unsigned char byte, bool upperCase) {
    const char* digits = upperCase ? upperDigits : lowerDigits;
    const char pair[] = {digits[byte >> 4], digits[byte & 0xf]};
    text.append(pair, 2);
}

}  // namespace keyvane
