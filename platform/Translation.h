#pragma once

#include <string>

namespace keyvane {

// `text` in the user's language where a translation is installed, else as it is. `context` is the
// one it was marked with for lupdate (QT_TRANSLATE_NOOP), so that the English texts stay where
// they are and are translated only where they are shown.
std::string translated(const char* context, const char* text);

}  // namespace keyvane
