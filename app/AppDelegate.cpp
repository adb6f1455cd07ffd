#include "app/AppDelegate.h"

#include <QApplication>
#include <QDialog>
#include <QMainWindow>
#include <QTimer>
#include <iostream>

#include "engine/MappingApplier.h"
#include "engine/MappingStore.h"
#include "platform/ActivationPolicy.h"
#include "platform/Bundle.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/InputDeviceWatcher.h"
#include "platform/MainQueue.h"
#include "platform/SessionBus.h"
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

}  // namespace

AppDelegate::AppDelegate(LifecycleSettings settings) : settings_(std::move(settings)) {}

void AppDelegate::applicationDidFinishLaunching() {
    if (!isLoginLaunch()) {
        showMainWindow();
    } else {
        DistributedNotificationCenter::post(bundle::killLauncherNotification,
                                            bundle::appIdentifier);
        MappingStore::loadMappings();
        MappingApplier::applyMappings();
        setActivationPolicy(ActivationPolicy::Accessory);
    }
    SCL::fetchConfig();
    countLaunch();
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
            if (!mainWindowShown)
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
            if (!captureWindowOpen())
                MappingApplier::applyMappings();
        });
    });
}

}  // namespace keyvane
