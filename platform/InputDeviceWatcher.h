#pragma once

#include <QObject>
#include <memory>

#include "platform/InputDeviceMonitor.h"

class QTimer;

namespace keyvane {

// Tells when the mappings must be installed again because a keyboard's keymap was reset: a keyboard
// was plugged in or reconnected (the kernel gives it its default keymap), or udev ran its rules on
// one again (and hwdb's keymap replaced ours). Mice, power buttons and the like cause nothing.
// A burst of events (one keyboard often brings several nodes, and udev touches each) gives one
// signal, at most about 900 ms after the burst began.
//
// Lives on the thread that creates it, which needs an event loop.
class InputDeviceWatcher : public QObject {
    Q_OBJECT
  public:
    explicit InputDeviceWatcher(std::unique_ptr<InputDeviceMonitor> monitor,
                                QObject* parent = nullptr);

  signals:
    void keyboardsChanged();

  private:
    void deviceEvent(const InputDeviceEvent& event);
    void endBurst();

    InputDeviceMonitor* monitor_;
    QTimer* quiet_;
    QTimer* deadline_;
};

}  // namespace keyvane
