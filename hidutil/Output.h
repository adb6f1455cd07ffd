#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/Hex.h"
#include "hidutil/Device.h"
#include "hidutil/Property.h"

namespace keyvane::hidutil {

// The answers are shaped like those of the macOS tool of the same name, whose output the
// application reads: a property value in the old property-list text style, tables of services.

// "(" ... ")" with one block per mapping, numbers in decimal, keys sorted (Dst before Src).
std::string formatMappingList(const std::vector<Mapping>& mappings);
// "UserKeyMapping:(" ... ")".
std::string formatEcho(const std::vector<Mapping>& mappings);
// The RegistryID / Key / Value table, one row per device.
std::string formatMatchedEcho(const std::vector<std::uint64_t>& registryIds,
                              const std::vector<std::vector<Mapping>>& values);

// One line of a service table.
struct ServiceRow {
    unsigned vendorId = 0;
    unsigned productId = 0;
    std::uint32_t locationId = 0;
    unsigned usagePage = 0;
    unsigned usage = 0;
    std::uint64_t registryId = 0;
    std::string transport;
    std::string className;
    std::string product;
    bool builtIn = false;
};

ServiceRow describeService(const DeviceInfo& device, bool keyboard);
std::string transportName(unsigned busType);

// A table: headings and cells left-justified in columns as wide as their widest text, each cell
// followed by one space.
std::string formatServiceTable(const std::vector<ServiceRow>& rows);
// The devices behind services, once each.
std::string formatDeviceTable(const std::vector<ServiceRow>& rows);

}  // namespace keyvane::hidutil
