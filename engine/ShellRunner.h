#pragma once

#include <string>

namespace keyvane {

// Runs one command line through /bin/bash and returns everything it wrote to standard output.
// Standard input, standard error, the environment and the working folder are the caller's.
class ShellRunner {
  public:
    // Blocks until the command closes its standard output. Output that is not valid UTF-8 is
    // decoded lossily (U+FFFD). When bash cannot be started: the empty string and one line on
    // standard error.
    static std::string run(const std::string& commandLine);

    static constexpr const char* shellPath = "/bin/bash";
};

}  // namespace keyvane
