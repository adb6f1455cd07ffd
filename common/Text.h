#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace keyvane {

// Replaces every occurrence of `what`, found from left to right without overlap; replaced text is
// never searched again.
std::string replacingOccurrences(std::string text, std::string_view what, std::string_view with);

// Splits at every `separator`, keeping empty pieces: "" gives one empty piece.
std::vector<std::string> splitKeepingEmpty(std::string_view text, char separator);

// `pattern` with each %1 ... %9 replaced by that value of `values` (from 1); a value is never
// searched for further placeholders, and a % without a value of its number stays as it is.
std::string fillIn(std::string_view pattern, const std::vector<std::string>& values);

// text on one line: control characters (a newline would start a line of its own) become spaces.
std::string oneLine(std::string text);

// `number` as people read large numbers in a message: 1,379.
std::string groupedDigits(std::size_t number);

}  // namespace keyvane
