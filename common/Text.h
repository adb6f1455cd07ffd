#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace keyvane {

// Replaces every occurrence of `what`, found from left to right without overlap; replaced text is
// never searched again.
std::string replacingOccurrences(std::string text, std::string_view what, std::string_view with);

// Splits at every `separator`, keeping empty pieces: "" gives one empty piece.
std::vector<std::string> splitKeepingEmpty(std::string_view text, char separator);

}  // namespace keyvane
