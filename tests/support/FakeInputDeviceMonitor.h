#pragma once

#include <string>

#include "platform/InputDeviceMonitor.h"

namespace keyvane::testing {

// Stands in for udev's monitor: reports whatever device events a test tells it to.
class FakeInputDeviceMonitor : public InputDeviceMonitor {
  public:
    bool isMonitoring() const override { return true; }
    void report(InputDeviceEvent::Action action, const std::string& node, bool keyboard) {
        emit deviceEvent({action, node, keyboard});
    }
};

}  // namespace keyvane::testing
