#pragma once

#include <cstdio>
#include <string>

namespace keyvane {

// One line of the standard output trace, written whole even when threads write at once.
inline void traceLine(const std::string& line) {
    const std::string text = line + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

}  // namespace keyvane
