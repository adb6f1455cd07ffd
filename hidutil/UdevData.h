#pragma once

#include <istream>

#include "hidutil/Device.h"

namespace keyvane::hidutil {

// Reads udev's database entry of one device (/run/udev/data/c13:N, one "E:KEY=VALUE" line per
// property) into info: udev's keyboard verdict, and the keys its hwdb sets with what Keyvane's
// permanent keymap found on them. Keys of scancodes or names hidutil cannot read are passed over.
void readUdevData(std::istream& data, DeviceInfo& info);

}  // namespace keyvane::hidutil
