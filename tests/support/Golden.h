#pragma once

// The files beside the tests that output is compared with, byte for byte.
// KEYVANE_UPDATE_GOLDEN=1 rewrites them from what the code gives now.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/support/ReadFile.h"

namespace keyvane::testing {

inline std::string goldenFile(const std::string& name) {
    return readFile(std::string(KEYVANE_GOLDEN_DATA) + "/" + name);
}

inline void expectGolden(const std::string& name, const std::string& actual) {
    if (std::getenv("KEYVANE_UPDATE_GOLDEN"))
        std::ofstream(std::string(KEYVANE_GOLDEN_DATA) + "/" + name, std::ios::binary) << actual;
    EXPECT_EQ(actual, goldenFile(name)) << name;
}

}  // namespace keyvane::testing
