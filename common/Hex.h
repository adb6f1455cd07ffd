#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace keyvane {

// "0x" and the lower-case hexadecimal digits of `value` without leading zeros: "0x0",
// "0x7000000e3".
std::string hexNumber(std::uint64_t value);

// The value of hexadecimal digits of either case, without prefix; nothing when `digits` is empty,
// holds anything else or does not fit in 64 bits.
std::optional<std::uint64_t> parseHex(std::string_view digits);

// The value of one hexadecimal digit of either case, or -1.
int hexDigitValue(char c);

// Appends `byte` as two hexadecimal digits.
void appendHexByte(std::string& text, unsigned char byte, bool upperCase);

}  // namespace keyvane
