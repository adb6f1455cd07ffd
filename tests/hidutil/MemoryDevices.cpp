#include "tests/hidutil/MemoryDevices.h"

#include <linux/input-event-codes.h>

#include <sstream>

#include "hidutil/Command.h"
#include "hidutil/UdevData.h"
#include "keys/HidKeyCodes.h"

namespace keyvane::testing {
namespace {

class MemoryDevice : public hidutil::KeyDevice {
  public:
    explicit MemoryDevice(std::shared_ptr<MemoryKeyboard> keyboard)
        : keyboard_(std::move(keyboard)) {}

    const hidutil::DeviceInfo& info() const override { return keyboard_->info; }

    std::error_code readKeymap(std::vector<hidutil::KeymapEntry>& keymap) override {
        keymap = keyboard_->keymap;
        return {};
    }

    std::error_code setKeycode(std::uint32_t scancode, std::uint32_t keycode) override {
        if (keyboard_->refusal)
            return keyboard_->refusal;
        if (keyboard_->changes == keyboard_->changesBeforeKill)
            throw Killed{};
        auto* entry = keyboard_->find(scancode);
        if (!entry)
            return std::make_error_code(std::errc::invalid_argument);
        if (!keyboard_->ignored.contains(scancode))
            entry->keycode = keycode;
        ++keyboard_->changes;
        return {};
    }

    std::error_code readKeycode(std::uint32_t scancode, std::uint32_t& keycode) override {
        const auto* entry = keyboard_->find(scancode);
        if (!entry)
            return std::make_error_code(std::errc::invalid_argument);
        keycode = entry->keycode;
        return {};
    }

  private:
    std::shared_ptr<MemoryKeyboard> keyboard_;
};

std::shared_ptr<MemoryKeyboard> device(unsigned bus, unsigned vendor, unsigned product,
                                       unsigned number, std::string name) {
    auto keyboard = std::make_shared<MemoryKeyboard>();
    auto& info = keyboard->info;
    info.node = "/dev/input/event" + std::to_string(number);
    info.name = std::move(name);
    info.phys = "memory-" + std::to_string(number);
    info.bus = bus;
    info.vendor = vendor;
    info.product = product;
    info.registryId = 0x100000000 + number;
    info.instance = "input" + std::to_string(number);
    return keyboard;
}

}  // namespace

hidutil::KeymapEntry* MemoryKeyboard::find(std::uint32_t scancode) {
    for (auto& entry : keymap)
        if (entry.scancode == scancode)
            return &entry;
    return nullptr;
}

std::shared_ptr<MemoryKeyboard> hidKeyboard(unsigned product, unsigned number, unsigned lastUsage) {
    auto keyboard = device(hidutil::bus::usb, 0x1d50, product, number, "Memory Keyboard");
    // The modifier bits come first, then the key array, which lists the modifiers again.
    for (unsigned usage = 0xe0; usage <= 0xe7; ++usage)
        keyboard->keymap.push_back(
            {0x70000 | usage, static_cast<std::uint32_t>(linuxKeyCodeForUsage(usage))});
    for (unsigned usage = 0; usage <= lastUsage; ++usage)
        keyboard->keymap.push_back(
            {0x70000 | usage, static_cast<std::uint32_t>(linuxKeyCodeForUsage(usage))});
    keyboard->keymap.push_back({0xc00e9, KEY_VOLUMEUP});
    return keyboard;
}

std::shared_ptr<MemoryKeyboard> atKeyboard(unsigned number) {
    auto keyboard = device(hidutil::bus::i8042, 1, 1, number, "AT Translated Set 2 keyboard");
    // Below 0x59 the scancodes of the XT set are the key codes; a few extended keys follow.
    for (std::uint32_t scancode = 0; scancode < 256; ++scancode)
        keyboard->keymap.push_back({scancode, scancode < 0x59 ? scancode : 0});
    // 0x80 | 0x71 is a second scancode for Delete, as some laptops send.
    for (const auto& [scancode, code] : {std::pair{0x80 | 0x1d, KEY_RIGHTCTRL},
                                         {0x80 | 0x38, KEY_RIGHTALT},
                                         {0x80 | 0x5b, KEY_LEFTMETA},
                                         {0x80 | 0x5c, KEY_RIGHTMETA},
                                         {0x80 | 0x53, KEY_DELETE},
                                         {0x80 | 0x71, KEY_DELETE}})
        keyboard->find(static_cast<std::uint32_t>(scancode))->keycode =
            static_cast<std::uint32_t>(code);
    return keyboard;
}

std::shared_ptr<MemoryKeyboard> hidMouse(unsigned number) {
    auto mouse = device(hidutil::bus::usb, 0x1d50, 0x99, number, "Memory Mouse");
    for (std::uint32_t button = 1; button <= 3; ++button)
        mouse->keymap.push_back({0x90000 | button, BTN_MOUSE + button - 1});
    return mouse;
}

void applyUdevData(MemoryKeyboard& keyboard, const std::string& data) {
    std::istringstream in(data);
    hidutil::readUdevData(in, keyboard.info);
    for (const auto& [scancode, code] : keyboard.info.hwdbKeys)
        keyboard.find(scancode)->keycode = code;
}

hidutil::DeviceScan MemoryDeviceSource::scan() {
    hidutil::DeviceScan scan;
    scan.bootId = bootId;
    scan.present.emplace();
    for (const auto& keyboard : keyboards) {
        scan.devices.push_back(std::make_unique<MemoryDevice>(keyboard));
        scan.present->insert(keyboard->info.instance);
    }
    scan.unopened = unopened;
    return scan;
}

std::string userKeyMapping(const std::vector<Entry>& entries) {
    std::string joined;
    for (const auto& [src, dst] : entries)
        joined += std::string(joined.empty() ? "{" : ",{") +
                  R"("HIDKeyboardModifierMappingSrc" : )" + src +
                  R"(, "HIDKeyboardModifierMappingDst" : )" + dst + "}";
    return R"({"UserKeyMapping" : [)" + joined + "]}";
}

Outcome runHidutil(const std::vector<std::string>& args, hidutil::DeviceSource& devices,
                   const std::optional<std::filesystem::path>& folder) {
    std::ostringstream out, err;
    const int status = hidutil::runCommand(args, devices, folder, out, err);
    return {status, out.str(), err.str()};
}

}  // namespace keyvane::testing
