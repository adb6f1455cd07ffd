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
#include <thread>

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

// Makes the device through /dev/uhid; the descriptor of /dev/uhid, or -1.
int createUhid(const std::vector<unsigned char>& descriptor, unsigned product, unsigned bus,
               const std::string& name) {
    const int fd = ::open("/dev/uhid", O_RDWR | O_CLOEXEC);
    if (fd < 0)
        return -1;
    uhid_event ev{};
    ev.type = UHID_CREATE2;
    std::snprintf(reinterpret_cast<char*>(ev.u.create2.name), sizeof ev.u.create2.name, "%s",
                  name.c_str());
    std::snprintf(reinterpret_cast<char*>(ev.u.create2.phys), sizeof ev.u.create2.phys,
                  "keyvane-test/%s", name.c_str());
    std::memcpy(ev.u.create2.rd_data, descriptor.data(), descriptor.size());
    ev.u.create2.rd_size = static_cast<__u16>(descriptor.size());
    ev.u.create2.bus = static_cast<__u16>(bus);
    ev.u.create2.vendor = UhidKeyboard::vendor;
    ev.u.create2.product = product;
    if (::write(fd, &ev, sizeof ev) != static_cast<ssize_t>(sizeof ev)) {
        ::close(fd);
        return -1;
    }
    return fd;
}

}  // namespace

std::string eventNodeNamed(const std::string& name) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        for (const auto& entry : std::filesystem::directory_iterator("/dev/input")) {
            if (entry.path().filename().string().rfind("event", 0) != 0)
                continue;
            const int fd = ::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC);
            char found[256] = {};
            if (fd >= 0 && ::ioctl(fd, EVIOCGNAME(sizeof found - 1), found) >= 0 && name == found) {
                ::close(fd);
                return entry.path().string();
            }
            if (fd >= 0)
                ::close(fd);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return {};
}

std::map<unsigned, unsigned> keymapOf(const std::string& node) {
    std::map<unsigned, unsigned> keymap;
    const int fd = ::open(node.c_str(), O_RDONLY | O_CLOEXEC);
    for (unsigned index = 0; fd >= 0; ++index) {
        input_keymap_entry entry{};
        entry.flags = INPUT_KEYMAP_BY_INDEX;
        entry.index = index;
        if (::ioctl(fd, EVIOCGKEYCODE_V2, &entry) != 0)
            break;
        unsigned scancode = 0;
        std::memcpy(&scancode, entry.scancode, std::min<std::size_t>(entry.len, sizeof scancode));
        keymap.emplace(scancode, entry.keycode);
    }
    if (fd >= 0)
        ::close(fd);
    return keymap;
}

int keycodeOf(const std::string& node, unsigned scancode) {
    input_keymap_entry entry{};
    entry.len = sizeof scancode;
    std::memcpy(entry.scancode, &scancode, sizeof scancode);
    const int fd = ::open(node.c_str(), O_RDONLY | O_CLOEXEC);
    const bool read = fd >= 0 && ::ioctl(fd, EVIOCGKEYCODE_V2, &entry) == 0;
    if (fd >= 0)
        ::close(fd);
    return read ? static_cast<int>(entry.keycode) : -1;
}

bool setKeycode(const std::string& node, unsigned scancode, unsigned keycode) {
    input_keymap_entry entry{};
    entry.len = sizeof scancode;
    std::memcpy(entry.scancode, &scancode, sizeof scancode);
    entry.keycode = keycode;
    const int fd = ::open(node.c_str(), O_RDONLY | O_CLOEXEC);
    const bool set = fd >= 0 && ::ioctl(fd, EVIOCSKEYCODE_V2, &entry) == 0;
    if (fd >= 0)
        ::close(fd);
    return set;
}

bool UhidKeyboard::create(unsigned product, unsigned bus, const std::string& deviceName,
                          unsigned char lastUsage) {
    name = deviceName;
    fd = createUhid(reportDescriptor(lastUsage), product, bus, name);
    if (fd < 0)
        return false;
    node = eventNodeNamed(name);
    event = ::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    return event >= 0;
}

bool UhidMouse::create(unsigned product, unsigned bus, const std::string& deviceName) {
    name = deviceName;
    fd = createUhid(mouseDescriptor, product, bus, name);
    if (fd < 0)
        return false;
    node = eventNodeNamed(name);
    return !node.empty();
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
    constexpr unsigned sentinelUsage = 0x45;  // F12, never remapped here
    input_event ev{};
    while (::read(event, &ev, sizeof ev) > 0) {
    }
    tap(usage);
    tap(sentinelUsage);
    std::vector<int> presses;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (std::chrono::steady_clock::now() < deadline) {
        pollfd p{event, POLLIN, 200};
        if (::poll(&p, 1, 200) <= 0)
            continue;
        while (::read(event, &ev, sizeof ev) == static_cast<ssize_t>(sizeof ev)) {
            if (ev.type != EV_KEY || ev.value != 1)
                continue;
            if (ev.code == KEY_F12)
                return presses;
            presses.push_back(ev.code);
        }
    }
    presses.push_back(-1);  // the sentinel never came
    return presses;
}

std::string mapping(std::initializer_list<std::pair<const char*, const char*>> entries) {
    std::string text;
    for (const auto& [src, dst] : entries)
        text += std::string(text.empty() ? "" : ",") +
                R"({"HIDKeyboardModifierMappingSrc" : 0x7000000)" + src +
                R"(, "HIDKeyboardModifierMappingDst" : 0x7000000)" + dst + "}";
    return R"({"UserKeyMapping" : [)" + text + "]}";
}
