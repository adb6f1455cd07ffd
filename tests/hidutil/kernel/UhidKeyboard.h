#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/support/KeyMappingProperty.h"

// Virtual HID devices made through /dev/uhid in the test guest, as the kernel sees a USB or
// Bluetooth keyboard or mouse, with their event devices.

// The event node (/dev/input/eventN) of the device of that name, waited for up to ten seconds;
// empty when none appeared.
std::string eventNodeNamed(const std::string& name);

// The keymap of an event device, scancode -> key code, as the kernel lists it by index
// (EVIOCGKEYCODE_V2); empty when the node cannot be opened.
std::map<unsigned, unsigned> keymapOf(const std::string& node);

// What the kernel gives for one scancode on the event device node; -1 when it cannot be read.
int keycodeOf(const std::string& node, unsigned scancode);
// Changes one key as udev's hwdb or another tool would.
bool setKeycode(const std::string& node, unsigned scancode, unsigned keycode);

// The property text the application composes, for (source, destination) keyboard usages as two hex
// digits each.
inline constexpr auto& mapping = keyvane::testing::keyMappingProperty;

// A device made through /dev/uhid, which goes away with its descriptor of /dev/uhid, and its event
// node.
struct UhidDevice {
    static constexpr unsigned vendor = 0x1d50;

    int fd = -1;
    std::string name, node;

    bool create(const std::vector<unsigned char>& descriptor, unsigned product, unsigned bus,
                const std::string& deviceName);
};

struct UhidKeyboard : UhidDevice {
    int event = -1;  // its event device

    // A boot-protocol keyboard whose key array reaches every usage up to lastUsage (Right GUI for a
    // full keyboard).
    bool create(unsigned product, unsigned bus, const std::string& deviceName,
                unsigned char lastUsage = 0xe7);
    void report(unsigned char modifiers, unsigned char key) const;
    // Presses and releases a usage (a modifier usage through the modifier bits).
    void tap(unsigned usage) const;
    // The key codes of the key presses that tapping usage gives, read up to a sentinel key; -1 last
    // when the sentinel never came.
    std::vector<int> pressesOf(unsigned usage) const;
};

// A three-button mouse with relative X and Y, of the keyboards' vendor: a device that has an event
// node and is no keyboard. Never reports.
struct UhidMouse : UhidDevice {
    bool create(unsigned product, unsigned bus, const std::string& deviceName);
};
