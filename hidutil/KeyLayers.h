#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "hidutil/Device.h"
#include "hidutil/RecordStore.h"

namespace keyvane::hidutil {

// Whose code a key gives, of the layers that may set it: the kernel's table, udev's hwdb (a
// permanent keymap among them), hidutil, or someone after them all.
enum class Layer { Default, Hwdb, Keyvane, Other };

struct KeyLayer {
    std::uint32_t scancode = 0;
    std::uint32_t keycode = 0;  // what it gives now
    Layer layer = Layer::Default;
};

// Every key that hidutil or udev's hwdb set, in scancode order, and whose code it gives now.
// Whoever changed another key, it gives its original for all hidutil can tell, and is left out.
std::vector<KeyLayer> keyLayers(const Keymap& current, const DeviceRecord* record,
                                const DeviceInfo& info);

std::string_view layerName(Layer layer);

}  // namespace keyvane::hidutil
