#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace keyvane::testing {

// The whole file, byte for byte; empty when it cannot be read.
inline std::string readFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace keyvane::testing
