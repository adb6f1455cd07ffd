// hidutil as the kernel test's guest runs it: the real command on the real event devices, with a
// fault point that the shipped program does not have. With KEYVANE_TEST_KILL_AFTER_CHANGES=N it is
// killed (SIGKILL, as by a crash or the out-of-memory killer) right after its Nth key change.
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "hidutil/Command.h"
#include "hidutil/EvdevDevices.h"
#include "hidutil/RecordStore.h"

namespace {

using namespace keyvane::hidutil;

class KilledAfterChanges : public KeyDevice {
  public:
    KilledAfterChanges(std::unique_ptr<KeyDevice> device, long& changesLeft)
        : device_(std::move(device)), changesLeft_(changesLeft) {}

    const DeviceInfo& info() const override { return device_->info(); }
    std::error_code readKeymap(std::vector<KeymapEntry>& keymap) override {
        return device_->readKeymap(keymap);
    }
    std::error_code readKeycode(std::uint32_t scancode, std::uint32_t& keycode) override {
        return device_->readKeycode(scancode, keycode);
    }
    std::error_code setKeycode(std::uint32_t scancode, std::uint32_t keycode) override {
        const auto error = device_->setKeycode(scancode, keycode);
        if (!error && --changesLeft_ == 0)
            ::kill(::getpid(), SIGKILL);
        return error;
    }

  private:
    std::unique_ptr<KeyDevice> device_;
    long& changesLeft_;
};

class KillingSource : public DeviceSource {
  public:
    explicit KillingSource(long changes) : changesLeft_(changes) {}

    DeviceScan scan() override {
        DeviceScan scan = devices_.scan();
        for (auto& device : scan.devices)
            device = std::make_unique<KilledAfterChanges>(std::move(device), changesLeft_);
        return scan;
    }

  private:
    EvdevDeviceSource devices_;
    long changesLeft_;
};

}  // namespace

int main(int argc, char** argv) {
    const char* kill = std::getenv("KEYVANE_TEST_KILL_AFTER_CHANGES");
    KillingSource devices(kill ? std::atol(kill) : -1);
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    return runCommand(args, devices, RecordStore::defaultFolder(), std::cout, std::cerr);
}
