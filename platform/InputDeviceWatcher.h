#pragma once

#include <QObject>
#include <filesystem>
#include <string>

class QSocketNotifier;
class QTimer;

namespace keyvane {

// Tells when a keyboard's event node appears in an input device folder (/dev/input): a keyboard
// that is plugged in or reconnects gets the kernel's default keymap, so the mappings must be
// installed on it again. Watches with inotify, never polls. A burst of new nodes (one keyboard
// often brings several, and udev changes each node's owner and mode just after the kernel makes
// it) gives one signal, at most about 900 ms after the burst began.
//
// Whether a node belongs to a keyboard is read from the world-readable key capabilities in sysfs,
// so the node itself is never opened. A node whose capabilities cannot be read counts as a
// keyboard: installing the mappings once more is harmless, missing a keyboard is not.
//
// Lives on the thread that creates it, which needs an event loop.
class InputDeviceWatcher : public QObject {
    Q_OBJECT
  public:
    static constexpr const char* defaultFolder = "/dev/input";
    static constexpr const char* defaultSysfsRoot = "/sys/class/input";

    explicit InputDeviceWatcher(std::filesystem::path folder = defaultFolder,
                                std::filesystem::path sysfsRoot = defaultSysfsRoot,
                                QObject* parent = nullptr);
    ~InputDeviceWatcher() override;

    // False when the folder could not be watched or has gone away; one line on standard error
    // says why.
    bool isWatching() const;

  signals:
    void keyboardAppeared();

  private:
    void readEvents();
    bool isKeyboard(const std::string& node) const;
    void noteKeyboard();
    void endBurst();
    void stopWatching(const std::string& reason);

    std::filesystem::path folder_;
    std::filesystem::path sysfsRoot_;
    int fd_ = -1;
    QSocketNotifier* notifier_ = nullptr;
    QTimer* quiet_ = nullptr;
    QTimer* deadline_ = nullptr;
};

}  // namespace keyvane
