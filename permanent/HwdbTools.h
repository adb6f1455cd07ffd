#pragma once

#include <string>
#include <vector>

#include "permanent/HwdbFile.h"

namespace keyvane::permanent {

// udev's own programs, run by fixed path with a fixed environment: the helper runs as root and
// takes neither from its caller.
class HwdbTools {
  public:
    static constexpr const char* systemdHwdb = "/usr/bin/systemd-hwdb";
    static constexpr const char* udevadm = "/usr/bin/udevadm";

    // Compiles the file alone in a scratch root and asks the compiled database what each of its
    // match lines gives: exactly its keys, or the file does not do what it says. systemd-hwdb
    // passes over lines it cannot read, even with --strict, so compiling alone proves little.
    bool validate(const HwdbFile& file, std::string& problem) const;
    // Compiles the system's hwdb where the system keeps it: /etc/udev/hwdb.bin when there is one,
    // which wins over the package's /usr/lib/udev/hwdb.bin, otherwise that one, so that a
    // database of ours never hides the ones later packages compile.
    bool update(std::string& problem) const;
    // Has udev read the database again, runs its rules again on these event devices and waits
    // until they are done.
    bool trigger(const std::vector<std::string>& syspaths, std::string& problem) const;
};

}  // namespace keyvane::permanent
