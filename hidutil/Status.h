#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hidutil/KeyLayers.h"
#include "hidutil/Keymap.h"
#include "hidutil/Output.h"
#include "hidutil/Property.h"
#include "hidutil/RecordStore.h"

namespace keyvane::hidutil {

// What became of one entry of the list installed on a keyboard, read back from its keymap now.
enum class EntryState {
    Installed,   // every key it changed gives the code installed
    Permanent,   // udev's hwdb gives every key of its source the code installed
    Skipped,     // the keyboard has no key for its source
    Overridden,  // a key it changed gives another code now (udev's hwdb again, another tool)
    Unusable,    // never installable (a blank or unknown usage)
};

struct EntryStatus {
    Mapping mapping;
    EntryState state = EntryState::Installed;
};

// Every entry of the record's list, in its order. A later entry of the same source takes its keys,
// so an earlier one shares its state.
std::vector<EntryStatus> readBack(const Keymap& current, const DeviceRecord& record,
                                  const DeviceInfo& info);

struct KeyboardStatus {
    ServiceRow row;
    std::vector<EntryStatus> entries;
    bool originalsUnknown = false;  // a damaged record of it was set aside in this boot
    std::vector<KeyLayer> keys;
};

// A device that may be a keyboard and could not be opened, or the device folder itself: what
// makes an installation fail before it changes a key.
struct UnopenedDevice {
    std::string node;
    bool noAccess = false;  // permission denied
    std::string error;
};

std::string_view stateName(EntryState state);
bool anyOverridden(const std::vector<KeyboardStatus>& keyboards);

// "keyboard PRODUCTID TRANSPORT REGISTRYID PRODUCT" per keyboard, then "mapping SRC DST STATE" per
// entry installed on it, then "key SCANCODE KEY LAYER" per key a layer touched; after all keyboards
// "unopened NODE CAUSE ERROR" per device that could not be opened.
std::string formatStatus(const std::vector<KeyboardStatus>& keyboards,
                         const std::vector<UnopenedDevice>& unopened = {});
// The same as one JSON object (see the usage text).
std::string formatStatusJson(const std::vector<KeyboardStatus>& keyboards,
                             const std::vector<UnopenedDevice>& unopened = {});

}  // namespace keyvane::hidutil
