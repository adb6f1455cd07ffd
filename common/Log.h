#pragma once

#include <string_view>

namespace keyvane {

// The program's two streams, each written one whole line at a time, so that lines from several
// threads never mix. The trace, on standard output, says what was run, answered and pressed; a
// warning, on standard error, says what went wrong or was left out, after the program's name.
void trace(std::string_view line);
void warn(std::string_view line);

}  // namespace keyvane
