#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/DefaultsValue.h"

namespace keyvane {

// JSON text to and from the value types of the user defaults, for code that keeps to the standard
// library.

// The value that `text` holds (an object or an array at the top), or nothing with the reason, and
// where in the text, in `error`.
std::optional<DefaultsValue> parseJson(std::string_view text, std::string& error);

// `object` as indented JSON text, keys in sorted order.
std::string jsonText(const DefaultsDictionary& object);

}  // namespace keyvane
