#include "common/Log.h"

#include <cerrno>
#include <cstdio>
#include <string>

namespace keyvane {
namespace {

void writeLine(std::FILE* stream, std::string_view prefix, std::string_view line) {
    std::string text;
    text.reserve(prefix.size() + line.size() + 1);
    text.append(prefix).append(line) += '\n';
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

}  // namespace

void trace(std::string_view line) {
    writeLine(stdout, {}, line);
}

void warn(std::string_view line) {
    writeLine(stderr, std::string(program_invocation_short_name) + ": ", line);
}

}  // namespace keyvane
