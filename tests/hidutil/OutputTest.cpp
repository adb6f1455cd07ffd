// What hidutil prints, byte for byte, against the files beside this test: the keyboard listing the
// test kernel gave (which the application's tests read too), and a session of commands on keyboards
// in memory.
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include "hidutil/Command.h"
#include "tests/hidutil/MemoryDevices.h"
#include "tests/support/Golden.h"

namespace keyvane::hidutil {
namespace {

std::shared_ptr<testing::MemoryKeyboard> named(std::shared_ptr<testing::MemoryKeyboard> device,
                                               unsigned busType, std::string name,
                                               std::string phys = "") {
    device->info.bus = busType;
    device->info.name = std::move(name);
    device->info.phys = phys.empty() ? "keyvane-test/" + device->info.name : phys;
    return device;
}

TEST(Output, MatchesTheGoldenFiles) {
    testing::MemoryDeviceSource devices;
    // The keyboards of the kernel test, as its kernel describes them.
    devices.keyboards = {
        named(testing::atKeyboard(0), bus::i8042, "AT Translated Set 2 keyboard",
              "isa0060/serio0/input0"),
        named(testing::hidKeyboard(0x1111, 2), bus::usb, "Keyvane Test Keyboard A"),
        named(testing::hidKeyboard(0x2222, 3), bus::bluetooth, "Keyvane Test Keyboard B")};
    const std::optional<std::filesystem::path> folder =
        std::filesystem::path(std::getenv("XDG_STATE_HOME")) / "keyvane";
    std::string transcript;
    const auto run = [&](const std::vector<std::string>& args) {
        const testing::Outcome outcome = testing::runHidutil(args, devices, folder);
        transcript += "$ hidutil";
        for (const std::string& arg : args)
            transcript += " '" + arg + "'";
        transcript +=
            "\n" + outcome.out + outcome.err + "[exit " + std::to_string(outcome.status) + "]\n";
        return outcome.out;
    };
    testing::expectGolden("kernel/list-keyboard-on-qemu.txt", run({"list", "-m", "keyboard"}));
    // A permanent keymap made Caps Lock a Ctrl key: the list's Caps Lock is still that key.
    testing::applyUdevData(*devices.keyboards[0],
                           "E:KEYBOARD_KEY_3a=leftctrl\nE:KEYVANE_ORIGINAL_KEY_3a=capslock\n");

    // A keyboard without F13 whose name needs escaping, and devices that are no keyboards.
    devices.keyboards.push_back(
        named(testing::hidKeyboard(0x3333, 4, 0x65), bus::usb, "Keyvane \"Short\"\tKeyboard"));
    // udev's hwdb moved Q to Escape: a keyboard all the same. Caps Lock -> Escape is permanent
    // there, and another program has changed Q since.
    devices.keyboards.push_back(
        named(testing::hidKeyboard(0x4444, 8), bus::usb, "Keyvane Test Keyboard Q"));
    testing::applyUdevData(*devices.keyboards.back(),
                           "E:KEYBOARD_KEY_70014=esc\nE:KEYBOARD_KEY_70039=esc\n"
                           "E:KEYVANE_ORIGINAL_KEY_70039=capslock\nE:KEYBOARD_KEY_7003a=nokey\n");
    devices.keyboards.back()->find(0x70014)->keycode = KEY_X;
    devices.keyboards.push_back(named(testing::hidMouse(5), bus::i2c, "Touchpad"));
    devices.keyboards.push_back(named(testing::hidMouse(6), bus::virtualBus, "Virtual Pointer"));
    devices.keyboards.push_back(named(testing::hidMouse(7), 0x14, "Gameport Stick"));
    const std::string matchA = R"({"ProductID": 0x1111})", clear = testing::userKeyMapping({});
    transcript.clear();
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {"list"},
             {"property", "--get", "UserKeyMapping"},
             {"property", "--get", "UserKeyMapping", "--matching", R"({"ProductID": 0x2222})"},
             {"property", "--set",
              testing::userKeyMapping({{"0x700000039", "0x700000029"},
                                       {"0x7000000e3", "0x7000000e7"},
                                       {"0x700000068", "0x700000029"},
                                       {"0x7000000", "0x700000029"}})},
             {"property", "--get", "UserKeyMapping"},
             {"status"},
             {"status", "--json"},
             {"property", "--set", testing::userKeyMapping({{"0x700000004", "0x700000005"}}),
              "--matching", matchA},
             {"property", "--get", "UserKeyMapping"},
             {"property", "--get", "UserKeyMapping", "--matching", R"({"VendorID": 0x1d50})"},
             {"property", "--set", clear, "--matching", R"({"ProductID": 0x99})"},
             {"property", "--set", clear, "--matching", R"({"ProductID": "0x1111"})"},
             {"list", "--matching", R"({"SerialNumber": 1})"},
             {"status"},
             {"property", "--set", clear},
         })
        run(args);
    testing::expectGolden("session.txt", transcript);
}

}  // namespace
}  // namespace keyvane::hidutil
