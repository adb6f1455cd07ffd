// A stand-in for hidutil that tests put first on PATH. Every argument vector it receives is
// appended to "$FAKE_HIDUTIL_DIR/calls", one line per run, arguments separated by tabs and escaped
// (\\, \t, \n). It prints "$FAKE_HIDUTIL_DIR/output-<first argument>" when that file exists;
// without one, "property" answers like a successful installation and everything else prints
// nothing.
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

namespace {

std::string escaped(const std::string& argument) {
    std::string text;
    for (char c : argument) {
        if (c == '\\')
            text += "\\\\";
        else if (c == '\t')
            text += "\\t";
        else if (c == '\n')
            text += "\\n";
        else
            text += c;
    }
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    const char* dir = std::getenv("FAKE_HIDUTIL_DIR");
    if (!dir) {
        std::cerr << "fake hidutil: FAKE_HIDUTIL_DIR is not set" << std::endl;
        return 2;
    }
    {
        std::ofstream calls(std::string(dir) + "/calls", std::ios::app);
        for (int i = 1; i < argc; ++i)
            calls << (i > 1 ? "\t" : "") << escaped(argv[i]);
        calls << "\n";
    }
    const std::string subcommand = argc > 1 ? argv[1] : "";
    std::ifstream output(std::string(dir) + "/output-" + subcommand);
    if (output) {
        std::cout << output.rdbuf();
    } else if (subcommand == "property") {
        std::cout << "UserKeyMapping:(\n)\n";
    }
    int status = 0;
    std::ifstream(std::string(dir) + "/exit-" + subcommand) >> status;
    return status;
}
