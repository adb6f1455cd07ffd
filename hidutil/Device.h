#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

namespace keyvane::hidutil {

using Keymap = std::map<std::uint32_t, std::uint32_t>;  // scancode -> key code

// What hidutil knows of one event device besides its keymap.
struct DeviceInfo {
    std::string node;  // e.g. /dev/input/event3
    std::string name;
    std::string phys;
    unsigned bus = 0;
    unsigned vendor = 0;
    unsigned product = 0;
    std::uint64_t registryId = 0;  // unique among the devices present
    // The input device behind the node, as sysfs names it ("input7"). The kernel numbers input
    // devices once per boot, so with the boot id this names one device instance, and the keymap the
    // kernel keeps for it, where an event node name is reused by the next device plugged in. Empty
    // when it cannot be told.
    std::string instance;
    // udev's verdict (ID_INPUT_KEYBOARD) where udev has handled the device; nothing elsewhere. It
    // counts the codes the keys gave when udev's rules ran, so only a yes is worth taking.
    std::optional<bool> udevKeyboard;
    // The keys udev's hwdb sets (KEYBOARD_KEY_*), and for those of Keyvane's permanent keymap the
    // code each had before it (KEYVANE_ORIGINAL_KEY_*): the layer between the kernel's table and
    // hidutil. Empty where udev has not handled the device.
    Keymap hwdbKeys;
    Keymap permanentOriginals;
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
    // The code one scancode gives now, to see that a change was taken.
    virtual std::error_code readKeycode(std::uint32_t scancode, std::uint32_t& keycode) = 0;
};

// What the kernel answers for a node or descriptor whose device has been removed.
inline bool deviceIsGone(const std::error_code& error) {
    return error == std::errc::no_such_device || error == std::errc::no_such_device_or_address ||
           error == std::errc::no_such_file_or_directory;
}

// The event devices present, and what tells this boot and its devices apart.
struct DeviceScan {
    std::vector<std::unique_ptr<KeyDevice>> devices;
    // Nodes that could not be opened. Whether one is a keyboard is read where the node is not
    // needed (true when that cannot be told either).
    struct Unopened {
        std::string node;
        std::error_code error;
        bool maybeKeyboard = true;
    };
    std::vector<Unopened> unopened;
    std::error_code error;  // the device folder itself could not be read
    std::string bootId;     // empty when it cannot be read
    // The instances of every input device present, opened or not; nothing when unknown.
    std::optional<std::set<std::string>> present;
};

class DeviceSource {
  public:
    virtual ~DeviceSource() = default;
    virtual DeviceScan scan() = 0;
};

}  // namespace keyvane::hidutil
