#include "hidutil/KeyLayers.h"

#include "hidutil/Keymap.h"
#include "hidutil/Messages.h"

namespace keyvane::hidutil {
namespace {

// hidutil's layer is above hwdb's: a key it set over one hwdb sets is its own until restored.
Layer layerOf(std::uint32_t scancode, std::uint32_t now, std::uint32_t byDefault,
              const DeviceRecord* record, const DeviceInfo& info) {
    if (record) {
        const auto key = record->keys.find(scancode);
        if (key != record->keys.end() && key->second.set.contains(now))
            return Layer::Keyvane;
    }
    const auto hwdb = info.hwdbKeys.find(scancode);
    if (hwdb != info.hwdbKeys.end() && hwdb->second == now)
        return Layer::Hwdb;
    return now == byDefault ? Layer::Default : Layer::Other;
}

}  // namespace

std::vector<KeyLayer> keyLayers(const Keymap& current, const DeviceRecord* record,
                                const DeviceInfo& info) {
    const Keymap defaults = defaultKeymap(originalKeymap(current, record), info);
    std::vector<KeyLayer> keys;
    for (const auto& [scancode, keycode] : current)
        if ((record && record->keys.contains(scancode)) || info.hwdbKeys.contains(scancode))
            keys.push_back({scancode, keycode,
                            layerOf(scancode, keycode, defaults.at(scancode), record, info)});
    return keys;
}

std::string_view layerName(Layer layer) {
    switch (layer) {
        case Layer::Default:
            return text::layerDefault;
        case Layer::Hwdb:
            return text::layerHwdb;
        case Layer::Keyvane:
            return text::layerKeyvane;
        case Layer::Other:
            return text::layerOther;
    }
    return {};
}

}  // namespace keyvane::hidutil
