#pragma once

// What the checks that run inside the virtual machine share: each check prints a marker line on
// the console, which the host reads, and the last line says whether all passed.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace guest {

inline int failures = 0;

inline void check(bool ok, const std::string& what) {
    std::printf("%s%s\n", ok ? "KEYVANE-CHECK PASS " : "KEYVANE-CHECK FAIL ", what.c_str());
    std::fflush(stdout);
    if (!ok)
        ++failures;
}

// "<doneMarker>ok" or "<doneMarker>failed"; the exit status to end with.
inline int done(const char* doneMarker) {
    std::printf("%s%s\n", doneMarker, failures == 0 ? "ok" : "failed");
    std::fflush(stdout);
    return failures == 0 ? 0 : 1;
}

inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace guest
