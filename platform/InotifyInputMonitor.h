#pragma once

#include <filesystem>
#include <string>

#include "platform/InputDeviceMonitor.h"

class QSocketNotifier;

namespace keyvane {

// Watches an input device folder (/dev/input) with inotify, where no udev runs (containers, CI): a
// node created or moved in is added, a node whose owner or mode changes (udev's chmod, where it
// runs after all) has changed. Whether a node belongs to a keyboard is read from the world-readable
// key capabilities in sysfs, so the node itself is never opened; a node whose capabilities cannot
// be read counts as a keyboard: installing the mappings once more is harmless, missing a keyboard
// is not.
class InotifyInputMonitor : public InputDeviceMonitor {
    Q_OBJECT
  public:
    static constexpr const char* defaultFolder = "/dev/input";
    static constexpr const char* defaultSysfsRoot = "/sys/class/input";

    explicit InotifyInputMonitor(std::filesystem::path folder = defaultFolder,
                                 std::filesystem::path sysfsRoot = defaultSysfsRoot,
                                 QObject* parent = nullptr);
    ~InotifyInputMonitor() override;

    bool isMonitoring() const override { return notifier_ != nullptr; }

  private:
    void readEvents();
    bool isKeyboard(const std::string& node) const;
    void stopWatching(const std::string& reason);

    std::filesystem::path folder_;
    std::filesystem::path sysfsRoot_;
    int fd_ = -1;
    QSocketNotifier* notifier_ = nullptr;
};

}  // namespace keyvane
