#include "platform/InputDeviceMonitor.h"

#include <filesystem>

#include "platform/InotifyInputMonitor.h"
#include "platform/UdevInputMonitor.h"

namespace keyvane {

std::unique_ptr<InputDeviceMonitor> systemInputDeviceMonitor() {
    // udev's control socket: udevd runs and will pass every device on once its rules ran.
    std::error_code error;
    if (std::filesystem::exists("/run/udev/control", error)) {
        auto udev = std::make_unique<UdevInputMonitor>();
        if (udev->isMonitoring())
            return udev;
    }
    return std::make_unique<InotifyInputMonitor>();
}

}  // namespace keyvane
