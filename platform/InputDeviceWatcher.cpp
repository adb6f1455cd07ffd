#include "platform/InputDeviceWatcher.h"

#include <QTimer>
#include <chrono>

namespace keyvane {
namespace {

using namespace std::chrono_literals;

// udev handles the nodes of one device within milliseconds of each other; a quiet period this long
// takes them as one burst.
constexpr auto quietPeriod = 300ms;
// Someone typing on a freshly plugged keyboard must not wait for a busy bus to calm down.
constexpr auto longestWait = 900ms;

}  // namespace

InputDeviceWatcher::InputDeviceWatcher(std::unique_ptr<InputDeviceMonitor> monitor, QObject* parent)
    : QObject(parent),
      monitor_(monitor.release()),
      quiet_(new QTimer(this)),
      deadline_(new QTimer(this)) {
    monitor_->setParent(this);
    quiet_->setSingleShot(true);
    quiet_->setInterval(quietPeriod);
    deadline_->setSingleShot(true);
    deadline_->setInterval(longestWait);
    connect(quiet_, &QTimer::timeout, this, &InputDeviceWatcher::endBurst);
    connect(deadline_, &QTimer::timeout, this, &InputDeviceWatcher::endBurst);
    connect(monitor_, &InputDeviceMonitor::deviceEvent, this, &InputDeviceWatcher::deviceEvent);
}

void InputDeviceWatcher::deviceEvent(const InputDeviceEvent& event) {
    if (!event.keyboard || event.action == InputDeviceEvent::Action::Remove)
        return;
    quiet_->start();
    if (!deadline_->isActive())
        deadline_->start();
}

void InputDeviceWatcher::endBurst() {
    quiet_->stop();
    deadline_->stop();
    emit keyboardsChanged();
}

}  // namespace keyvane
