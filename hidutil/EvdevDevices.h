#pragma once

#include <filesystem>
#include <string>

#include "hidutil/Device.h"

namespace keyvane::hidutil {

// This boot's id, which tells the keymaps of this boot from those of earlier ones; empty when it
// cannot be read.
std::string currentBootId();

// The kernel's event devices, /dev/input/event*, whose keymaps are read and changed with
// EVIOCGKEYCODE_V2 and EVIOCSKEYCODE_V2.
class EvdevDeviceSource : public DeviceSource {
  public:
    explicit EvdevDeviceSource(std::filesystem::path folder = "/dev/input",
                               std::filesystem::path sysfsClass = "/sys/class/input")
        : folder_(std::move(folder)), sysfsClass_(std::move(sysfsClass)) {}

    DeviceScan scan() override;

  private:
    std::filesystem::path folder_;
    std::filesystem::path sysfsClass_;
};

// Opens an event node as every keymap change and read opens it; a descriptor, or -1 with errno set.
int openEventNode(const std::filesystem::path& node);

}  // namespace keyvane::hidutil
