#include "hidutil/EvdevDevices.h"

#include <fcntl.h>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>

#include "common/Text.h"
#include "hidutil/UdevData.h"
#include "keys/KeyCapabilities.h"

namespace keyvane::hidutil {
namespace {

constexpr std::string_view eventPrefix = "event";
constexpr const char* bootIdFile = "/proc/sys/kernel/random/boot_id";
// udev's database of the devices it has handled, a file per device: "c<major>:<minor>" for a
// character device, one "E:KEY=VALUE" line per property.
constexpr const char* udevDataFolder = "/run/udev/data";
// Keymaps are far smaller; this only bounds a misbehaving driver.
constexpr unsigned keymapLimit = 1u << 16;
// Registry ids look like the macOS ones and are never 0.
constexpr std::uint64_t registryBase = 0x100000000;

std::error_code lastError() {
    return {errno, std::generic_category()};
}

}  // namespace

// The boot id names record files, so it is taken only in its usual form, a UUID.
std::string currentBootId() {
    std::ifstream in(bootIdFile);
    std::string line;
    std::getline(in, line);
    const bool uuid = !line.empty() && std::all_of(line.begin(), line.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || c == '-';
    });
    return uuid ? line : std::string();
}

namespace {

class EvdevDevice : public KeyDevice {
  public:
    EvdevDevice(int fd, DeviceInfo info) : fd_(fd), info_(std::move(info)) {}
    ~EvdevDevice() override { ::close(fd_); }
    EvdevDevice(const EvdevDevice&) = delete;
    EvdevDevice& operator=(const EvdevDevice&) = delete;

    const DeviceInfo& info() const override { return info_; }

    std::error_code readKeymap(std::vector<KeymapEntry>& keymap) override {
        keymap.clear();
        for (unsigned index = 0; index < keymapLimit; ++index) {
            input_keymap_entry entry{};
            entry.flags = INPUT_KEYMAP_BY_INDEX;
            entry.index = index;
            if (::ioctl(fd_, EVIOCGKEYCODE_V2, &entry) != 0) {
                // The first index past the end is refused; a device without a keymap refuses 0.
                if (index > 0 && errno == EINVAL)
                    return {};
                return lastError();
            }
            std::uint32_t scancode = 0;
            std::memcpy(&scancode, entry.scancode,
                        std::min<std::size_t>(entry.len, sizeof scancode));
            keymap.push_back({scancode, entry.keycode});
        }
        return {};
    }

    std::error_code setKeycode(std::uint32_t scancode, std::uint32_t keycode) override {
        input_keymap_entry entry = byScancode(scancode);
        entry.keycode = keycode;
        if (::ioctl(fd_, EVIOCSKEYCODE_V2, &entry) != 0)
            return lastError();
        return {};
    }

    std::error_code readKeycode(std::uint32_t scancode, std::uint32_t& keycode) override {
        input_keymap_entry entry = byScancode(scancode);
        if (::ioctl(fd_, EVIOCGKEYCODE_V2, &entry) != 0)
            return lastError();
        keycode = entry.keycode;
        return {};
    }

  private:
    static input_keymap_entry byScancode(std::uint32_t scancode) {
        input_keymap_entry entry{};
        entry.len = sizeof scancode;
        std::memcpy(entry.scancode, &scancode, sizeof scancode);
        return entry;
    }

    int fd_;
    DeviceInfo info_;
};

std::optional<std::uint64_t> inputNumberOf(const std::string& name) {
    if (name.size() <= 5 || name.rfind("input", 0) != 0 ||
        !std::all_of(name.begin() + 5, name.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return std::nullopt;
    try {
        return std::stoull(name.substr(5));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

// The inputN device behind an event node: the kernel never reuses its number before the next
// boot, so it tells a replugged keyboard from the one that had its node before.
std::string inputDeviceOf(const std::filesystem::path& sysfsClass, const std::string& nodeName) {
    std::error_code error;
    const auto target = std::filesystem::canonical(sysfsClass / nodeName / "device", error);
    const std::string name = error ? std::string() : target.filename().string();
    return inputNumberOf(name) ? name : std::string();
}

// What udev made of the device behind a node, read without access to the node; info is left as it
// is where udev has not handled the device (no udev, or not yet).
void readUdevDataOf(const std::filesystem::path& node, DeviceInfo& info) {
    struct stat status {};
    if (::stat(node.c_str(), &status) != 0 || !S_ISCHR(status.st_mode))
        return;
    const std::string name =
        "c" + std::to_string(major(status.st_rdev)) + ":" + std::to_string(minor(status.st_rdev));
    std::ifstream file(std::filesystem::path(udevDataFolder) / name);
    if (file)
        readUdevData(file, info);
}

// Read where no access to the node is needed; a device whose capabilities cannot be read may be
// a keyboard.
bool maybeKeyboard(const std::filesystem::path& sysfsClass, const std::filesystem::path& node) {
    DeviceInfo udev;
    readUdevDataOf(node, udev);
    if (udev.udevKeyboard.value_or(false))
        return true;
    std::ifstream file(sysfsClass / node.filename() / "device" / "capabilities" / "key");
    std::string bitmap;
    std::getline(file, bitmap);
    return capabilitiesHaveEveryLetter(bitmap).value_or(true);
}

std::optional<std::set<std::string>> inputDevicesPresent(const std::filesystem::path& sysfsClass) {
    std::set<std::string> present;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(sysfsClass, error))
        if (inputNumberOf(entry.path().filename().string()))
            present.insert(entry.path().filename().string());
    if (error)
        return std::nullopt;
    return present;
}

std::unique_ptr<KeyDevice> openDevice(const std::filesystem::path& node,
                                      const std::filesystem::path& sysfsClass,
                                      std::error_code& error) {
    const int fd = openEventNode(node);
    if (fd < 0) {
        error = lastError();
        return nullptr;
    }
    DeviceInfo info;
    info.node = node.string();
    input_id id{};
    char name[256] = {};
    char phys[256] = {};
    if (::ioctl(fd, EVIOCGID, &id) != 0 || ::ioctl(fd, EVIOCGNAME(sizeof name - 1), name) < 0) {
        error = lastError();
        ::close(fd);
        return nullptr;
    }
    if (::ioctl(fd, EVIOCGPHYS(sizeof phys - 1), phys) < 0)
        phys[0] = '\0';
    info.bus = id.bustype;
    info.vendor = id.vendor;
    info.product = id.product;
    info.name = oneLine(name);
    info.phys = oneLine(phys);
    const std::string nodeName = node.filename().string();
    info.instance = inputDeviceOf(sysfsClass, nodeName);
    readUdevDataOf(node, info);
    const auto number = inputNumberOf(info.instance);
    const std::uint64_t eventNumber = std::stoull(nodeName.substr(eventPrefix.size()));
    info.registryId = registryBase + (number ? *number : eventNumber);
    return std::make_unique<EvdevDevice>(fd, std::move(info));
}

bool isEventNode(const std::string& name) {
    return name.size() > eventPrefix.size() && name.rfind(eventPrefix, 0) == 0 &&
           std::all_of(name.begin() + static_cast<std::ptrdiff_t>(eventPrefix.size()), name.end(),
                       [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

int openEventNode(const std::filesystem::path& node) {
    // Write-only: the keymap ioctls work on any open node, and such a descriptor cannot read a key
    // press.
    return ::open(node.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
}

DeviceScan EvdevDeviceSource::scan() {
    DeviceScan result;
    std::vector<std::pair<unsigned long, std::filesystem::path>> nodes;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder_, error)) {
        const std::string name = entry.path().filename().string();
        if (isEventNode(name))
            nodes.emplace_back(std::stoul(name.substr(eventPrefix.size())), entry.path());
    }
    // A machine without any input device has no /dev/input: no keyboards, nothing to change.
    if (error && error != std::errc::no_such_file_or_directory) {
        result.error = error;
        return result;
    }
    std::sort(nodes.begin(), nodes.end());
    result.bootId = currentBootId();
    result.present = inputDevicesPresent(sysfsClass_);
    for (const auto& [number, node] : nodes) {
        std::error_code openError;
        if (auto device = openDevice(node, sysfsClass_, openError))
            result.devices.push_back(std::move(device));
        else
            result.unopened.push_back({node.string(), openError, maybeKeyboard(sysfsClass_, node)});
    }
    return result;
}

}  // namespace keyvane::hidutil
