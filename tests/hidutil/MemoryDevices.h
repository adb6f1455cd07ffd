#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "hidutil/Device.h"

namespace keyvane::testing {

// Thrown by a keyboard in memory to stop hidutil where it stands, as if the process were killed.
struct Killed {};

// A keyboard held in memory, standing in for an event device: its keymap changes like the
// kernel's; it can refuse changes with an error, take some without effect, or stop hidutil after a
// number of changes.
struct MemoryKeyboard {
    hidutil::DeviceInfo info;
    std::vector<hidutil::KeymapEntry> keymap;
    std::error_code refusal;
    std::set<std::uint32_t> ignored;  // scancodes whose changes do not take
    int changesBeforeKill = -1;       // negative: never
    int changes = 0;

    // The entry of scancode, or null where the keyboard has none.
    hidutil::KeymapEntry* find(std::uint32_t scancode);
};

// A USB boot keyboard whose scancodes are the keyboard page's usages up to lastUsage, with the
// kernel's default codes, and a volume key on the consumer page.
std::shared_ptr<MemoryKeyboard> hidKeyboard(unsigned product, unsigned number,
                                            unsigned lastUsage = 0xe7);
// An AT keyboard: scancodes 0 to 255, the extended ones from 0x80, as the i8042 driver numbers
// them.
std::shared_ptr<MemoryKeyboard> atKeyboard(unsigned number);
// A HID mouse: buttons only, no letters.
std::shared_ptr<MemoryKeyboard> hidMouse(unsigned number);

// What udev's rules do with the keyboard given its database entry ("E:KEY=VALUE" lines): the
// properties go into its info, and the keys its hwdb sets into its keymap.
void applyUdevData(MemoryKeyboard& keyboard, const std::string& data);

class MemoryDeviceSource : public hidutil::DeviceSource {
  public:
    std::vector<std::shared_ptr<MemoryKeyboard>> keyboards;
    std::vector<hidutil::DeviceScan::Unopened> unopened;
    std::string bootId = "2b3e9c1a-0d4f-4e7a-9b61-5c8d2f0a7e14";

    hidutil::DeviceScan scan() override;
};

// The property text the application composes for (source, destination) usages.
using Entry = std::pair<std::string, std::string>;
std::string userKeyMapping(const std::vector<Entry>& entries);

// What one run of hidutil printed and returned.
struct Outcome {
    int status = 0;
    std::string out, err;
};
Outcome runHidutil(const std::vector<std::string>& args, hidutil::DeviceSource& devices,
                   const std::optional<std::filesystem::path>& folder);

}  // namespace keyvane::testing
