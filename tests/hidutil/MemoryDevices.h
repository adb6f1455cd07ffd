#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hidutil/Device.h"

namespace keyvane::testing {

// A keyboard held in memory, standing in for an event device: its keymap changes like the
// kernel's, and it can be told to refuse changes or to stop after a number of them, as a crash
// would.
struct MemoryKeyboard {
    hidutil::DeviceInfo info;
    std::vector<hidutil::KeymapEntry> keymap;
    bool refuses = false;
    int changesBeforeCrash = -1;  // negative: never
    int changes = 0;

    unsigned codeOf(std::uint32_t scancode) const;
};

// A USB keyboard whose scancodes are the keyboard page's usages, with the kernel's default codes,
// and a volume key on the consumer page.
std::shared_ptr<MemoryKeyboard> hidKeyboard(unsigned product, unsigned number);
// An AT keyboard: scancodes 0 to 255, the extended ones from 0x80, as the i8042 driver numbers
// them.
std::shared_ptr<MemoryKeyboard> atKeyboard(unsigned number);
// A HID mouse: buttons only, no letters.
std::shared_ptr<MemoryKeyboard> hidMouse(unsigned number);

class MemoryDeviceSource : public hidutil::DeviceSource {
  public:
    std::vector<std::shared_ptr<MemoryKeyboard>> keyboards;
    std::vector<std::string> unopenable;

    hidutil::DeviceScan scan() override;
};

}  // namespace keyvane::testing
