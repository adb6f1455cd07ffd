#include "hidutil/Output.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <tuple>

#include "hidutil/Messages.h"

namespace keyvane::hidutil {
namespace {

constexpr unsigned desktopPage = 1;
constexpr unsigned keyboardUsage = 6;

using Table = std::vector<std::vector<std::string>>;

std::string formatTable(const Table& table) {
    std::vector<std::size_t> widths;
    for (const auto& row : table)
        for (std::size_t column = 0; column < row.size(); ++column) {
            if (widths.size() <= column)
                widths.push_back(0);
            widths[column] = std::max(widths[column], row[column].size());
        }
    std::string out;
    for (const auto& row : table) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            out += row[column];
            out.append(widths[column] - row[column].size() + 1, ' ');
        }
        out += '\n';
    }
    return out;
}

// A location that stays the same while the device stays plugged into the same place, and is never
// 0: the application skips every line that shows 0x0.
std::uint32_t locationOf(const DeviceInfo& device) {
    const std::string& where = device.phys.empty() ? device.node : device.phys;
    std::uint32_t hash = 2166136261u;
    for (unsigned char c : where)
        hash = (hash ^ c) * 16777619u;
    return hash ? hash : 1;
}

}  // namespace

std::string formatMappingList(const std::vector<Mapping>& mappings) {
    std::string out(text::listOpen);
    for (std::size_t i = 0; i < mappings.size(); ++i) {
        out += text::entryOpen;
        out += fill(text::entryLine, {text::mappingDst, std::to_string(mappings[i].dst)});
        out += fill(text::entryLine, {text::mappingSrc, std::to_string(mappings[i].src)});
        out += text::entryClose;
        out += i + 1 < mappings.size() ? text::entrySeparator : "\n";
    }
    out += text::listClose;
    return out;
}

std::string formatEcho(const std::vector<Mapping>& mappings) {
    return std::string(text::echoHead) + formatMappingList(mappings);
}

std::string formatMatchedEcho(const std::vector<std::uint64_t>& registryIds,
                              const std::vector<std::vector<Mapping>>& values) {
    std::string out(text::matchedHeading);
    for (std::size_t i = 0; i < registryIds.size() && i < values.size(); ++i) {
        std::string id = hexNumber(registryIds[i]).substr(2);
        id.resize(std::max<std::size_t>(id.size() + 1, 12), ' ');
        out += id;
        out += text::matchedRowKey;
        out += formatMappingList(values[i]);
    }
    return out;
}

std::string transportName(unsigned busType) {
    switch (busType) {
        case bus::usb:
            return std::string(text::transportUsb);
        case bus::bluetooth:
            return std::string(text::transportBluetooth);
        case bus::virtualBus:
            return std::string(text::transportVirtual);
        case bus::i8042:
        case bus::i2c:
        case bus::host:
        case bus::spi:
        case bus::hil:
            return std::string(text::transportInternal);
        default:
            return std::string(text::transportOther);
    }
}

ServiceRow describeService(const DeviceInfo& device, bool keyboard) {
    ServiceRow row;
    row.vendorId = device.vendor;
    row.productId = device.product;
    row.locationId = locationOf(device);
    row.usagePage = keyboard ? desktopPage : 0;
    row.usage = keyboard ? keyboardUsage : 0;
    row.registryId = device.registryId;
    row.transport = transportName(device.bus);
    row.className = std::string(keyboard ? text::keyboardClass : text::otherClass);
    row.product = device.name.empty() ? std::string(text::nullText) : device.name;
    row.builtIn = row.transport == text::transportInternal;
    return row;
}

std::string formatServiceTable(const std::vector<ServiceRow>& rows) {
    Table table{
        std::vector<std::string>(std::begin(text::serviceColumns), std::end(text::serviceColumns))};
    for (const ServiceRow& row : rows)
        table.push_back({hexNumber(row.vendorId), hexNumber(row.productId),
                         hexNumber(row.locationId), std::to_string(row.usagePage),
                         std::to_string(row.usage), hexNumber(row.registryId), row.transport,
                         row.className, row.product, std::string(text::nullText),
                         std::string(row.builtIn ? text::builtInYes : text::builtInNo)});
    return std::string(text::servicesHeading) + formatTable(table);
}

std::string formatDeviceTable(const std::vector<ServiceRow>& rows) {
    Table table{
        std::vector<std::string>(std::begin(text::deviceColumns), std::end(text::deviceColumns))};
    std::set<std::tuple<unsigned, unsigned, std::uint32_t, std::string>> seen;
    for (const ServiceRow& row : rows) {
        if (!seen.insert({row.vendorId, row.productId, row.locationId, row.product}).second)
            continue;
        table.push_back({hexNumber(row.vendorId), hexNumber(row.productId),
                         hexNumber(row.locationId), row.transport, row.product,
                         std::string(row.builtIn ? text::builtInYes : text::builtInNo)});
    }
    return std::string(text::devicesHeading) + formatTable(table);
}

}  // namespace keyvane::hidutil
