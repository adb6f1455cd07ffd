#pragma once

#include <QMainWindow>
#include <QObject>
#include <QPointer>
#include <chrono>
#include <functional>
#include <memory>

#include "platform/InputDeviceMonitor.h"

class QTimer;

namespace keyvane {

// udev's monitor where udev runs (/run/udev/control exists), else inotify on /dev/input.
std::unique_ptr<InputDeviceMonitor> systemInputDeviceMonitor();

// How often the mappings are installed again while the window is hidden, and what tells of
// keyboards plugged in or changed; tests shorten the one and feed the other themselves.
struct LifecycleSettings {
    std::chrono::milliseconds reapplyInterval = std::chrono::seconds(1800);
    std::function<std::unique_ptr<InputDeviceMonitor>()> inputDeviceMonitor =
        systemInputDeviceMonitor;
};

// The application's answers to its lifecycle: the launch sequence (a normal launch shows the main
// window; a launch by the login helper tells the helper to quit, installs the mappings and stays in
// the background), reopening, and keeping the mappings installed while it runs: every 30 minutes
// while the window is hidden, and whenever a keyboard is plugged in or udev resets its keymap.
class AppDelegate : public QObject {
    Q_OBJECT
  public:
    explicit AppDelegate(LifecycleSettings settings = LifecycleSettings());

    QMainWindow* window() const { return window_; }
    void setWindow(QMainWindow* window) { window_ = window; }

    // Runs once, after the main window's view has loaded. `afterShown` runs once the window has
    // been painted (at once, through the main queue, when it stays hidden), before the launch is
    // counted.
    void applicationDidFinishLaunching(std::function<void()> afterShown = {});
    // Brings the main window back, whatever `hasVisibleWindows` says.
    bool applicationShouldHandleReopen(bool hasVisibleWindows);
    bool applicationShouldTerminateAfterLastWindowClosed() const { return false; }

  private:
    bool isLoginLaunch() const;
    void showMainWindow();
    static void countLaunch();
    void startReapplyTimer();
    void watchForKeyboards();

    LifecycleSettings settings_;
    QPointer<QMainWindow> window_;
};

// The timer that installs the mappings again while the main window is hidden; main thread only.
extern QTimer* reapplyTimer;

}  // namespace keyvane
