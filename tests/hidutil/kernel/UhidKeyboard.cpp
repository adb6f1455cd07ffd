#include "UhidKeyboard.h"

#include <fcntl.h>
#include <linux/input.h>
#include <linux/uhid.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "GuestCheck.h"

namespace {

std::vector<unsigned char> reportDescriptor(unsigned char lastUsage) {
    return {
        0x05, 0x01, 0x09, 0x06, 0xa1, 0x01,  // keyboard application
        0x05, 0x07, 0x19, 0xe0, 0x29, 0xe7,      0x15, 0x00,      0x25, 0x01,  // modifiers e0..e7
        0x75, 0x01, 0x95, 0x08, 0x81, 0x02,                                    // 8 bits
        0x95, 0x01, 0x75, 0x08, 0x81, 0x01,                                    // reserved byte
        0x95, 0x06, 0x75, 0x08, 0x15, 0x00,      0x26, lastUsage, 0x00,  // 6 keys, 0..lastUsage
        0x05, 0x07, 0x19, 0x00, 0x29, lastUsage, 0x81, 0x00,             //
        0xc0,
    };
}

// Three buttons and relative X and Y, as a boot-protocol mouse reports them.
const std::vector<unsigned char> mouseDescriptor = {
    0x05, 0x01, 0x09, 0x02, 0xa1, 0x01, 0x09, 0x01, 0xa1, 0x00,  // mouse application, pointer
    0x05, 0x09, 0x19, 0x01, 0x29, 0x03, 0x15, 0x00, 0x25, 0x01,  // buttons 1..3
    0x95, 0x03, 0x75, 0x01, 0x81, 0x02, 0x95, 0x01, 0x75, 0x05,  // 3 bits, 5 bits padding
    0x81, 0x01, 0x05, 0x01, 0x09, 0x30, 0x09, 0x31, 0x15, 0x81,  // X, Y: -127..127
    0x25, 0x7f, 0x75, 0x08, 0x95, 0x02, 0x81, 0x06, 0xc0, 0xc0,  // relative
};

// An event device node open for reading, for as long as the object lives.
struct OpenNode {
    explicit OpenNode(const std::string& node) : fd(::open(node.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~OpenNode() {
        if (fd >= 0)
            ::close(fd);
    }
    const int fd;
};

std::string nameOf(const std::string& node) {
    const OpenNode open(node);
    char name[256] = {};
    return open.fd >= 0 && ::ioctl(open.fd, EVIOCGNAME(sizeof name - 1), name) >= 0 ? name : "";
}

// One key of the event device node by scancode: read (EVIOCGKEYCODE_V2) or set (EVIOCSKEYCODE_V2).
bool keymapEntry(const std::string& node, unsigned long request, unsigned scancode,
                 unsigned& keycode) {
    input_keymap_entry entry{};
    entry.len = sizeof scancode;
    std::memcpy(entry.scancode, &scancode, sizeof scancode);
    entry.keycode = keycode;
    const OpenNode open(node);
    const bool done = open.fd >= 0 && ::ioctl(open.fd, request, &entry) == 0;
    keycode = entry.keycode;
    return done;
}

}  // namespace

std::string eventNodeNamed(const std::string& name) {
    std::string found;
    guest::waitFor(
        [&] {
            for (const auto& entry : std::filesystem::directory_iterator("/dev/input"))
                if (entry.path().filename().string().starts_with("event") &&
                    nameOf(entry.path()) == name)
                    found = entry.path();
            return !found.empty();
        },
        std::chrono::seconds(10));
    return found;
}

std::map<unsigned, unsigned> keymapOf(const std::string& node) {
    std::map<unsigned, unsigned> keymap;
    const OpenNode open(node);
    for (unsigned index = 0; open.fd >= 0; ++index) {
        input_keymap_entry entry{};
        entry.flags = INPUT_KEYMAP_BY_INDEX;
        entry.index = index;
        if (::ioctl(open.fd, EVIOCGKEYCODE_V2, &entry) != 0)
            break;
        unsigned scancode = 0;
        std::memcpy(&scancode, entry.scancode, std::min<std::size_t>(entry.len, sizeof scancode));
        keymap.emplace(scancode, entry.keycode);
    }
    return keymap;
}

int keycodeOf(const std::string& node, unsigned scancode) {
    unsigned keycode = 0;
    return keymapEntry(node, EVIOCGKEYCODE_V2, scancode, keycode) ? static_cast<int>(keycode) : -1;
}

bool setKeycode(const std::string& node, unsigned scancode, unsigned keycode) {
    return keymapEntry(node, EVIOCSKEYCODE_V2, scancode, keycode);
}

bool UhidDevice::create(const std::vector<unsigned char>& descriptor, unsigned product,
                        unsigned bus, const std::string& deviceName) {
    name = deviceName;
    fd = ::open("/dev/uhid", O_RDWR | O_CLOEXEC);
    uhid_event ev{};
    ev.type = UHID_CREATE2;
    std::snprintf(reinterpret_cast<char*>(ev.u.create2.name), sizeof ev.u.create2.name, "%s",
                  name.c_str());
    std::snprintf(reinterpret_cast<char*>(ev.u.create2.phys), sizeof ev.u.create2.phys,
                  "keyvane-test/%s", name.c_str());
    std::memcpy(ev.u.create2.rd_data, descriptor.data(), descriptor.size());
    ev.u.create2.rd_size = static_cast<__u16>(descriptor.size());
    ev.u.create2.bus = static_cast<__u16>(bus);
    ev.u.create2.vendor = vendor;
    ev.u.create2.product = product;
    if (fd >= 0 && ::write(fd, &ev, sizeof ev) == static_cast<ssize_t>(sizeof ev))
        node = eventNodeNamed(name);
    return !node.empty();
}

bool UhidKeyboard::create(unsigned product, unsigned bus, const std::string& deviceName,
                          unsigned char lastUsage) {
    if (UhidDevice::create(reportDescriptor(lastUsage), product, bus, deviceName))
        event = ::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    return event >= 0;
}

bool UhidMouse::create(unsigned product, unsigned bus, const std::string& deviceName) {
    return UhidDevice::create(mouseDescriptor, product, bus, deviceName);
}

void UhidKeyboard::report(unsigned char modifiers, unsigned char key) const {
    uhid_event ev{};
    ev.type = UHID_INPUT2;
    ev.u.input2.size = 8;
    ev.u.input2.data[0] = modifiers;
    ev.u.input2.data[2] = key;
    if (::write(fd, &ev, sizeof ev) < 0)
        std::perror("uhid input");
    // Reads what the kernel asks of the device, which a keyboard need not answer.
    pollfd p{fd, POLLIN, 0};
    while (::poll(&p, 1, 0) > 0 && ::read(fd, &ev, sizeof ev) > 0) {
    }
}

void UhidKeyboard::tap(unsigned usage) const {
    if (usage >= 0xe0)
        report(static_cast<unsigned char>(1u << (usage - 0xe0)), 0);
    else
        report(0, static_cast<unsigned char>(usage));
    report(0, 0);
}

std::vector<int> UhidKeyboard::pressesOf(unsigned usage) const {
    input_event ev{};
    while (::read(event, &ev, sizeof ev) > 0) {
    }
    tap(usage);
    tap(0x45);  // F12, never remapped here, ends what tapping usage gave
    std::vector<int> presses;
    const bool ended = guest::waitFor(
        [&] {
            while (::read(event, &ev, sizeof ev) == static_cast<ssize_t>(sizeof ev)) {
                if (ev.type == EV_KEY && ev.value == 1 && ev.code == KEY_F12)
                    return true;
                if (ev.type == EV_KEY && ev.value == 1)
                    presses.push_back(ev.code);
            }
            return false;
        },
        std::chrono::seconds(5));
    if (!ended)
        presses.push_back(-1);
    return presses;
}
