#pragma once

#include <sys/types.h>

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

    // A command started now whose output is taken later, so that it runs beside the caller's
    // other work. Its output is read to the end when taken, or when the object goes.
    class Pending {
      public:
        Pending(Pending&& other) noexcept;
        Pending& operator=(Pending&&) = delete;
        ~Pending();
        // Blocks as `run` does; the second time, the empty string.
        std::string take();

      private:
        friend class ShellRunner;
        Pending(int output, pid_t child) : output_(output), child_(child) {}
        int output_;
        pid_t child_;
    };
    static Pending start(const std::string& commandLine);

    static constexpr const char* shellPath = "/bin/bash";
};

}  // namespace keyvane
