#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace keyvane::hidutil {

// What hidutil knows of one event device besides its keymap.
struct DeviceInfo {
    std::string node;  // e.g. /dev/input/event3
    std::string name;
    std::string phys;
    unsigned bus = 0;
    unsigned vendor = 0;
    unsigned product = 0;
    std::uint64_t registryId = 0;  // unique among the devices present
    // The remembered original key codes belong to the device with this state name and identity;
    // a record whose identity differs was left by an earlier device with the same name.
    std::string stateName;
    std::string identity;
};

// Linux bus types (linux/input.h), repeated so that the logic builds without kernel headers.
namespace bus {
inline constexpr unsigned usb = 0x03;
inline constexpr unsigned hil = 0x04;
inline constexpr unsigned bluetooth = 0x05;
inline constexpr unsigned virtualBus = 0x06;
inline constexpr unsigned i8042 = 0x11;
inline constexpr unsigned i2c = 0x18;
inline constexpr unsigned host = 0x19;
inline constexpr unsigned spi = 0x1c;
}  // namespace bus

struct KeymapEntry {
    std::uint32_t scancode = 0;
    std::uint32_t keycode = 0;
    bool operator==(const KeymapEntry&) const = default;
};

// One event device whose keymap can be read and changed: the kernel's, or a test's in memory.
class KeyDevice {
  public:
    virtual ~KeyDevice() = default;
    virtual const DeviceInfo& info() const = 0;
    // The whole current keymap in the kernel's index order; an error when the device has none.
    virtual std::error_code readKeymap(std::vector<KeymapEntry>& keymap) = 0;
    virtual std::error_code setKeycode(std::uint32_t scancode, std::uint32_t keycode) = 0;
};

// The event devices present. Devices that exist but cannot be opened are named in failures.
struct DeviceScan {
    std::vector<std::unique_ptr<KeyDevice>> devices;
    struct Failure {
        std::string node;
        std::error_code error;
    };
    std::vector<Failure> failures;
    std::error_code error;  // the device folder itself could not be read
};

class DeviceSource {
  public:
    virtual ~DeviceSource() = default;
    virtual DeviceScan scan() = 0;
};

}  // namespace keyvane::hidutil
