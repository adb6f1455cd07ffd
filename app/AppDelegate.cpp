#include "app/AppDelegate.h"

#include <QApplication>
#include <QDialog>
#include <QMainWindow>
#include <QTimer>
#include <QWindow>
#include <filesystem>

#include "engine/MappingApplier.h"
#include "engine/MappingStore.h"
#include "platform/Bundle.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/InotifyInputMonitor.h"
#include "platform/InputDeviceWatcher.h"
#include "platform/MainQueue.h"
#include "platform/SessionBus.h"
#include "platform/UdevInputMonitor.h"
#include "platform/UserDefaults.h"
#include "remote/SCL.h"
#include "ui/capture/KeyboardVC.h"
#include "ui/main/MainVC.h"

namespace keyvane {

QTimer* reapplyTimer = nullptr;

namespace {

// While the capture window is open the user's keys must arrive unmapped.
bool captureWindowOpen() {
    return currentKeyboardVC && currentKeyboardVC->window()->isVisible();
}

// While the permanent keymap's helper runs, the session list stays cleared, so that the helper
// reads the keys below it and the keys change back to exactly what the helper put back; the
// helper's end installs the list again.
bool permanentHelperRunning() {
    return currentMainVC && currentMainVC->permanentKeymap().running();
}

// Runs a task once `window` has been painted for the first time, or hidden before that (at once,
// through the main queue, when it is not shown or already painted). Qt paints a window while it
// handles its exposure, so the task is queued behind that.
class AfterFirstPaint : public QObject {
  public:
    AfterFirstPaint(QWindow* window, std::function<void()> task)
        : QObject(window), task_(std::move(task)) {
        window->installEventFilter(this);
    }

  private:
    bool eventFilter(QObject* watched, QEvent* event) override {
        const bool painted =
            event->type() == QEvent::Expose && static_cast<QWindow*>(watched)->isExposed();
        if (painted || event->type() == QEvent::Hide) {
            watched->removeEventFilter(this);
            MainQueue::async(std::move(task_));
            deleteLater();
        }
        return false;
    }

    std::function<void()> task_;
};

void afterFirstPaint(QWidget* window, std::function<void()> task) {
    QWindow* handle = window->windowHandle();
    if (window->isVisible() && handle && !handle->isExposed())
        new AfterFirstPaint(handle, std::move(task));
    else
        MainQueue::async(std::move(task));
}

}  // namespace

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

AppDelegate::AppDelegate(LifecycleSettings settings) : settings_(std::move(settings)) {}

void AppDelegate::applicationDidFinishLaunching(std::function<void()> afterShown) {
    if (!isLoginLaunch()) {
        showMainWindow();
    } else {
        DistributedNotificationCenter::post(bundle::killLauncherNotification,
                                            bundle::appIdentifier);
        MappingStore::loadMappings();
        MappingApplier::applyMappings();
    }
    SCL::fetchConfig();
    if (afterShown)
        afterFirstPaint(window_, std::move(afterShown));
    // Counting saves the settings file, with its syncs; the user waits for the window, not for
    // that.
    afterFirstPaint(window_, [] { countLaunch(); });
    window_->setWindowTitle(window_->windowTitle() + " " +
                            QString::fromStdString(SCL::appVersion()));
    startReapplyTimer();
    watchForKeyboards();
}

bool AppDelegate::applicationShouldHandleReopen(bool) {
    showMainWindow();
    return true;
}

bool AppDelegate::isLoginLaunch() const {
    return session_bus::isRunning(bundle::launcherIdentifier);
}

// A minimised window is on screen only as an entry in the task bar: bring it back as it was before
// (normal or maximised) and in front.
void AppDelegate::showMainWindow() {
    QMainWindow* window = currentMainVC->MainWin();
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    window->activateWindow();
}

void AppDelegate::countLaunch() {
    UserDefaults& defaults = UserDefaults::standard();
    if (defaults.integerForKey(defaults_keys::launchCount) == 0)
        SCL::logEvent("First launch", "", "");
    defaults.setInteger(defaults_keys::launchCount,
                        defaults.integerForKey(defaults_keys::launchCount) + 1);
}

void AppDelegate::startReapplyTimer() {
    delete reapplyTimer;
    reapplyTimer = new QTimer(QCoreApplication::instance());
    reapplyTimer->setInterval(settings_.reapplyInterval);
    connect(reapplyTimer, &QTimer::timeout, [] {
        MainQueue::async([] {
            if (!mainWindowShown && !permanentHelperRunning())
                MappingApplier::applyMappings();
        });
    });
    reapplyTimer->start();
}

// A keyboard that appears gets the kernel's default keymap, and udev's hwdb rewrites keys of a
// keyboard it handles again; waiting for the timer would leave them unmapped for up to half an
// hour.
void AppDelegate::watchForKeyboards() {
    auto* keyboards = new InputDeviceWatcher(settings_.inputDeviceMonitor(), this);
    connect(keyboards, &InputDeviceWatcher::keyboardsChanged, this, [] {
        MainQueue::async([] {
            if (!captureWindowOpen() && !permanentHelperRunning())
                MappingApplier::applyMappings();
        });
    });
}

}  // namespace keyvane
