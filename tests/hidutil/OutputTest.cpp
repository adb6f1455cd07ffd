// What hidutil prints, against the macOS tool's shapes and the way the application reads them.
#include <gtest/gtest.h>

#include <sstream>

#include "hidutil/Command.h"
#include "hidutil/Output.h"
#include "tests/hidutil/MemoryDevices.h"

namespace keyvane::hidutil {
namespace {

TEST(Output, EchoesHaveTheMacOsShape) {
    EXPECT_EQ(formatEcho({{0x700000039, 0x700000029}}),
              "UserKeyMapping:(\n"
              "        {\n"
              "        HIDKeyboardModifierMappingDst = 30064771113;\n"
              "        HIDKeyboardModifierMappingSrc = 30064771129;\n"
              "    }\n"
              ")\n");
    EXPECT_EQ(formatEcho({{0x700000039, 0x700000029}, {0x7000000e3, 0x7000000e7}}),
              "UserKeyMapping:(\n"
              "        {\n"
              "        HIDKeyboardModifierMappingDst = 30064771113;\n"
              "        HIDKeyboardModifierMappingSrc = 30064771129;\n"
              "    },\n"
              "        {\n"
              "        HIDKeyboardModifierMappingDst = 30064771303;\n"
              "        HIDKeyboardModifierMappingSrc = 30064771299;\n"
              "    }\n"
              ")\n");
    EXPECT_EQ(formatEcho({}), "UserKeyMapping:(\n)\n");
    EXPECT_EQ(formatMatchedEcho({0x100026eef}, {{{0x700000050, 0x700000000}}}),
              "RegistryID  Key                   Value\n"
              "100026eef   UserKeyMapping   (\n"
              "        {\n"
              "        HIDKeyboardModifierMappingDst = 30064771072;\n"
              "        HIDKeyboardModifierMappingSrc = 30064771152;\n"
              "    }\n"
              ")\n");
}

TEST(Output, ServiceTableLinesUpLikeTheMacOsOne) {
    ServiceRow row;
    row.vendorId = 0x5ac;
    row.productId = 0x27e;
    row.locationId = 0x14200000;
    row.usagePage = 1;
    row.usage = 6;
    row.registryId = 0x100000a0e;
    row.transport = "USB";
    row.className = "AppleHIDKeyboardEvent";
    row.product = "Apple Internal Keyboard / Trackpad";
    row.builtIn = true;
    EXPECT_EQ(formatServiceTable({row}),
              "Services:\n"
              "VendorID ProductID LocationID UsagePage Usage RegistryID  Transport Class          "
              "       Product                            UserClass Built-In \n"
              "0x5ac    0x27e     0x14200000 1         6     0x100000a0e USB       "
              "AppleHIDKeyboardEvent Apple Internal Keyboard / Trackpad (null)    1        \n");
}

// The application's reading of a listing line: collapse runs of four, three, then two spaces,
// and split at single spaces.
std::vector<std::string> applicationFields(std::string line) {
    for (const std::string run : {"    ", "   ", "  "}) {
        std::string collapsed;
        for (std::size_t i = 0; i < line.size();) {
            if (line.compare(i, run.size(), run) == 0) {
                collapsed += ' ';
                i += run.size();
            } else {
                collapsed += line[i++];
            }
        }
        line = collapsed;
    }
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (std::size_t space; (space = line.find(' ', start)) != std::string::npos; start = space + 1)
        fields.push_back(line.substr(start, space - start));
    fields.push_back(line.substr(start));
    return fields;
}

TEST(Output, TheApplicationFindsProductIdAndTransportInEveryKeyboardLine) {
    testing::MemoryDeviceSource devices;
    const unsigned buses[] = {bus::usb,        bus::bluetooth, bus::i8042,
                              bus::virtualBus, bus::i2c,       0x1f};
    const unsigned ids[] = {0x1, 0x27e, 0xffff};
    const char* physes[] = {"", "usb-0000:00:14.0-1/input0", "isa0060/serio0", "x"};
    unsigned number = 0;
    for (unsigned busType : buses)
        for (unsigned id : ids)
            for (const char* phys : physes) {
                auto keyboard = testing::hidKeyboard(id, number);
                keyboard->info.bus = busType;
                keyboard->info.vendor = id;
                keyboard->info.phys = phys;
                keyboard->info.registryId = 0x100000000ull + number * 977;
                keyboard->info.name = "Keyboard " + std::to_string(number++) + "  with   spaces";
                devices.keyboards.push_back(keyboard);
            }
    std::ostringstream out, err;
    ASSERT_EQ(runCommand({"list", "-m", "keyboard"}, devices, std::nullopt, out, err), exitSuccess);
    std::istringstream lines(out.str());
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "Services:");
    std::getline(lines, line);
    EXPECT_EQ(line.rfind("VendorID ProductID LocationID UsagePage Usage RegistryID ", 0), 0u);
    std::size_t index = 0;
    while (std::getline(lines, line)) {
        ASSERT_LT(index, devices.keyboards.size());
        const DeviceInfo& info = devices.keyboards[index++]->info;
        EXPECT_EQ(line.rfind("0x", 0), 0u) << line;
        EXPECT_EQ(line.find(" 0x0 "), std::string::npos) << line;
        const auto fields = applicationFields(line);
        ASSERT_GE(fields.size(), 7u) << line;
        EXPECT_EQ(fields[1], hexNumber(info.product)) << line;
        EXPECT_EQ(fields[6], transportName(info.bus)) << line;
        EXPECT_EQ(fields[3], "1");
        EXPECT_EQ(fields[4], "6");
        EXPECT_NE(line.find(info.name), std::string::npos);
    }
    EXPECT_EQ(index, devices.keyboards.size());
    EXPECT_EQ(transportName(bus::usb), "USB");
    EXPECT_EQ(transportName(bus::bluetooth), "Bluetooth");
    EXPECT_EQ(transportName(bus::i8042), "Internal");
    EXPECT_EQ(transportName(bus::virtualBus), "Virtual");
}

TEST(Output, FullListingShowsEveryServiceThenTheDevices) {
    testing::MemoryDeviceSource devices;
    auto at = testing::atKeyboard(0);
    at->info.phys = "isa0060/serio0";
    auto mouse = testing::hidMouse(2);
    mouse->info.phys = "usb-1/input1";
    devices.keyboards = {at, mouse};
    std::ostringstream out, err;
    ASSERT_EQ(runCommand({"list"}, devices, std::nullopt, out, err), exitSuccess);
    const std::string services =
        formatServiceTable({describeService(at->info, true), describeService(mouse->info, false)});
    EXPECT_EQ(out.str(), services + "\n" +
                             formatDeviceTable({describeService(at->info, true),
                                                describeService(mouse->info, false)}));
    EXPECT_NE(services.find("0x1      0x1       "), std::string::npos) << services;
    EXPECT_NE(
        services.find(" 0         0     0x100000002 USB       KeyvaneEvdevService  Memory Mouse"),
        std::string::npos)
        << services;
    EXPECT_NE(out.str().find("Devices:\nVendorID ProductID LocationID Transport Product"),
              std::string::npos);
}

}  // namespace
}  // namespace keyvane::hidutil
