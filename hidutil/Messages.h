#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "keys/HidutilContract.h"

namespace keyvane::hidutil {

// Every text hidutil prints. "{}" marks where fill() puts its arguments, in order.
namespace text {

inline constexpr std::string_view usage =
    "usage: hidutil property --set TEXT [--matching TEXT]\n"
    "       hidutil property --get UserKeyMapping [--matching TEXT]\n"
    "       hidutil list [-m keyboard | --matching TEXT]\n"
    "       hidutil status [--json]\n"
    "       hidutil --help\n"
    "\n"
    "TEXT is a property text such as '{\"UserKeyMapping\" : [{\"HIDKeyboardModifierMappingSrc\" : "
    "0x700000039, \"HIDKeyboardModifierMappingDst\" : 0x700000029}]}' or '{\"ProductID\": "
    "0x27e}'.\n"
    "property --get prints the list last set for all keyboards in this boot, or with --matching "
    "the\n"
    "list set on each matching keyboard, in the shape --set echoes it; (null) when none is set.\n"
    "\n"
    "status reads back from the kernel what became of every entry installed, keyboard by "
    "keyboard:\n"
    "  keyboard PRODUCTID TRANSPORT REGISTRYID PRODUCT\n"
    "  originals unknown\n"
    "  mapping SRC DST STATE\n"
    "  key SCANCODE KEY LAYER\n"
    "One keyboard line for every keyboard, followed by a mapping line for every entry of the list\n"
    "installed on it, in the list's order (none when nothing is installed there), then a key line\n"
    "for every key that udev's hwdb or hidutil set, in scancode order. Fields are separated by "
    "one\n"
    "space; numbers are hexadecimal with 0x; PRODUCT, the device's name, is the rest of the line.\n"
    "STATE is one of\n"
    "  installed   the key gives the new key's code\n"
    "  permanent   the key gives the new key's code because udev's hwdb sets it (a permanent\n"
    "              keymap)\n"
    "  skipped     the keyboard has no such key\n"
    "  overridden  the key gives another code now (udev's hwdb applied again, another tool):\n"
    "              install the list again\n"
    "  unusable    the entry can never be installed (a blank or unknown usage)\n"
    "KEY is the code the key gives now, named as udev's hwdb files name it (the kernel's name in\n"
    "lower case without KEY_, or a number); LAYER says whose code it is:\n"
    "  default     the kernel's\n"
    "  hwdb        udev's hwdb (a permanent keymap, or another hwdb file)\n"
    "  keyvane     hidutil's\n"
    "  other       someone else's, who changed the key after them (another tool)\n"
    "\"originals unknown\" follows the keyboard line when hidutil's record of that keyboard's\n"
    "original keys was found damaged in this boot: unplugging and replugging it (or restarting)\n"
    "gives back the keymap the kernel gave it.\n"
    "After the keyboards, a line\n"
    "  unopened NODE CAUSE ERROR\n"
    "for every device that may be a keyboard and could not be opened (or for /dev/input itself),\n"
    "CAUSE being 'access' where permission was denied (the group 'input' gives it) and 'other'\n"
    "otherwise, ERROR the system's words to the end of the line.\n"
    "Lines of other kinds may be added later; skip those you do not know. With --json, the same "
    "as\n"
    "one object: {\"Keyboards\": [{\"Product\": TEXT, \"ProductID\": N, \"Transport\": TEXT,\n"
    "\"RegistryID\": N, [\"Originals\": \"unknown\",] \"UserKeyMapping\": [\n"
    "{\"HIDKeyboardModifierMappingSrc\": N, \"HIDKeyboardModifierMappingDst\": N, \"State\": "
    "TEXT},\n"
    "...], \"Keys\": [{\"Scancode\": N, \"Key\": TEXT, \"Layer\": TEXT}, ...]}, ...][, "
    "\"Unopened\": [\n"
    "{\"Node\": TEXT, \"Cause\": TEXT, \"Error\": TEXT}, ...]]}, numbers in decimal; \"Unopened\" "
    "only\n"
    "when a device could not be opened.\n"
    "\n"
    "Exit status: 0 done (for status: nothing overridden), 1 failed (for status: a keyboard or "
    "what\n"
    "was installed on it could not be read, or its original keys are unknown; what could be read "
    "is\n"
    "printed), 2 bad command line, 3 status found an entry overridden. Another hidutil at work is\n"
    "waited for 5 seconds at most.\n"
    "\n"
    "Changing or listing keyboards needs read and write access to /dev/input/event*, which members "
    "of\n"
    "the group 'input' have.\n"
    "\n"
    "hidutil keeps the code each key had before it first changed it in $XDG_STATE_HOME/keyvane/\n"
    "(~/.local/state/keyvane/ when XDG_STATE_HOME is not set), one file per keyboard, for as long "
    "as\n"
    "the kernel keeps that keyboard's keymap: until it is unplugged or the machine restarts, "
    "across\n"
    "logouts. To put back every key it changed, also after a crash or a logout, run\n"
    "  hidutil property --set '{\"UserKeyMapping\" : []}'\n"
    "A key that someone else changed after hidutil is left as they set it. A record that is not\n"
    "whole is moved aside (.damaged-TIME) and named.\n";

// Command words.
inline constexpr std::string_view commandProperty = contract::commandProperty;
inline constexpr std::string_view commandList = contract::commandList;
inline constexpr std::string_view commandStatus = contract::commandStatus;
inline constexpr std::string_view optionJson = contract::optionJson;
inline constexpr std::string_view optionSet = contract::optionSet;
inline constexpr std::string_view optionGet = contract::optionGet;
inline constexpr std::string_view optionMatching = contract::optionMatching;
inline constexpr std::string_view optionMatchShort = "-m";
inline constexpr std::string_view optionHelp = "--help";
inline constexpr std::string_view optionHelpShort = "-h";
inline constexpr std::string_view matchKeyboard = "keyboard";

// Property and matching keys.
inline constexpr std::string_view userKeyMapping = contract::userKeyMapping;
inline constexpr std::string_view mappingSrc = contract::mappingSrc;
inline constexpr std::string_view mappingDst = contract::mappingDst;
inline constexpr std::string_view keyProductId = contract::keyProductId;
inline constexpr std::string_view keyVendorId = "VendorID";
inline constexpr std::string_view keyLocationId = "LocationID";
inline constexpr std::string_view keyPrimaryUsagePage = "PrimaryUsagePage";
inline constexpr std::string_view keyPrimaryUsage = "PrimaryUsage";
inline constexpr std::string_view keyTransport = contract::keyTransport;
inline constexpr std::string_view keyProduct = contract::keyProduct;

// Reading property texts: what was expected where reading stopped.
inline constexpr std::string_view expectValue = "a value (an object, array, string or integer)";
inline constexpr std::string_view expectKeyOrEnd = "'\"' to begin a key, or '}'";
inline constexpr std::string_view expectKey = "'\"' to begin a key";
inline constexpr std::string_view expectColon = "':' after the key";
inline constexpr std::string_view expectCommaOrBrace = "',' or '}'";
inline constexpr std::string_view expectCommaOrBracket = "',' or ']'";
inline constexpr std::string_view expectEnd = "the end of the text";
inline constexpr std::string_view expectHexDigit = "a hexadecimal digit after 0x";
inline constexpr std::string_view expectNoLeadingZero =
    "a decimal integer without leading zeros (hexadecimal needs 0x)";
inline constexpr std::string_view expectSmallerInteger = "an integer below 2^64";
inline constexpr std::string_view expectClosingQuote = "'\"' to end the string";
inline constexpr std::string_view expectEscape = "one of \\\" \\\\ \\/ \\b \\f \\n \\r \\t \\uXXXX";
inline constexpr std::string_view expectNoControl =
    "a printable character or an escape in the string";
inline constexpr std::string_view expectShallower = "at most 64 nested objects and arrays";
inline constexpr std::string_view expectUniqueKey = "a key not given before in this object";
inline constexpr std::string_view expectSetObject = "an object holding \"UserKeyMapping\"";
inline constexpr std::string_view expectKnownProperty =
    "\"UserKeyMapping\", the only property hidutil sets";
inline constexpr std::string_view expectMappingArray = "an array of mapping objects";
inline constexpr std::string_view expectMappingObject =
    "an object with \"HIDKeyboardModifierMappingSrc\" and \"HIDKeyboardModifierMappingDst\"";
inline constexpr std::string_view expectMappingKey =
    "\"HIDKeyboardModifierMappingSrc\" or \"HIDKeyboardModifierMappingDst\"";
inline constexpr std::string_view expectMissingSrc =
    "\"HIDKeyboardModifierMappingSrc\" in this mapping";
inline constexpr std::string_view expectMissingDst =
    "\"HIDKeyboardModifierMappingDst\" in this mapping";
inline constexpr std::string_view expectUsageInteger = "an integer usage such as 0x700000039";
inline constexpr std::string_view expectMatchingObject = "an object such as {\"ProductID\": 0x27e}";
inline constexpr std::string_view expectMatchingKey =
    "one of ProductID, VendorID, LocationID, PrimaryUsagePage, PrimaryUsage, Transport, Product";
inline constexpr std::string_view expectInteger = "an integer";
inline constexpr std::string_view expectString = "a string";

// Errors on standard error.
inline constexpr std::string_view errorCommandLine =
    "hidutil: not a command line hidutil understands:{}\n";
inline constexpr std::string_view errorText =
    "hidutil: cannot use the {} text at position {}: expected {}\n";
inline constexpr std::string_view whatSet = "--set";
inline constexpr std::string_view whatMatching = "--matching";
inline constexpr std::string_view errorUnknownGetKey =
    "hidutil: cannot get {}: UserKeyMapping is the only property hidutil knows\n";
inline constexpr std::string_view errorNoMatch = "hidutil: no keyboard matches {}\n";
inline constexpr std::string_view errorOpen = "hidutil: cannot open {}: {}\n";
inline constexpr std::string_view errorNeedsInputGroup =
    "hidutil: listing and changing keyboards needs read and write access to /dev/input/event*:\n"
    "hidutil: add yourself to the group 'input' (sudo usermod -aG input $USER), then log in "
    "again.\n";
inline constexpr std::string_view errorDevice = "hidutil: cannot change the keys of {} ({}): {}\n";
inline constexpr std::string_view errorReadBack =
    "hidutil: keyboard {} ({}) did not take a change: scancode {} gives key code {}, not {}\n";
inline constexpr std::string_view errorRecord =
    "hidutil: cannot use {}, the original keys of {} ({}): {}; its keys are left as they are\n";
inline constexpr std::string_view errorNoInstance =
    "hidutil: cannot tell which input device {} ({}) is, so there is no keeping its original "
    "keys; its keys are left as they are\n";
inline constexpr std::string_view errorRecordUnreadable =
    "hidutil: cannot read {}, what was installed on {} ({}): {}\n";
inline constexpr std::string_view errorNoDevices = "hidutil: cannot read {}: {}\n";
inline constexpr std::string_view errorService =
    "hidutil: the keymap service ({}) did not carry out the command: {}\n";
inline constexpr std::string_view noteServiceNotStarted =
    "hidutil: note: the keymap service ({}) could not be started ({}); working in this process\n";
inline constexpr std::string_view errorNotAuthorized =
    "hidutil: not allowed to change keymaps: {}\n";
inline constexpr std::string_view errorLockHeld =
    "hidutil: {} holds {}, and has for 5 seconds; try again once it has ended\n";
inline constexpr std::string_view lockHolderUnknown = "another process";
inline constexpr std::string_view lockFile = "hidutil.lock";
inline constexpr std::string_view errorDamagedRecord =
    "hidutil: the record of the original keys of {} ({}) was cut short or changed, and is moved "
    "to {}; its original keys are unknown, so they are left as they are: unplug and replug the "
    "keyboard, or restart, to get back the keymap the kernel gave it\n";
inline constexpr std::string_view errorState = "hidutil: cannot keep the original keys in {}: {}\n";
inline constexpr std::string_view errorNoStateDir =
    "hidutil: neither XDG_STATE_HOME nor HOME is set, so there is nowhere to keep the original "
    "keys\n";
inline constexpr std::string_view errorBootId =
    "hidutil: cannot read the boot id (/proc/sys/kernel/random/boot_id), which tells the keymaps "
    "of this boot from those of earlier ones\n";

// Notes on standard error: what was left out of an install that succeeded.
inline constexpr std::string_view noteSkippedMapping =
    "hidutil: note: skipping the mapping {} -> {}: {}\n";
inline constexpr std::string_view reasonNotKeyboardPage =
    "{} is not a usage of the keyboard page 7 (it is on page {})";
inline constexpr std::string_view reasonNoKeyCode =
    "{} is a keyboard usage without a key code of its own";
inline constexpr std::string_view noteNoKey =
    "hidutil: note: keyboard {} ({}) has no key for usage {}\n";
inline constexpr std::string_view noteNodeGone =
    "hidutil: note: skipping {}: its device is gone ({})\n";
inline constexpr std::string_view noteNotKeyboard =
    "hidutil: note: skipping {}, which is no keyboard: {}\n";
inline constexpr std::string_view noteChangedSince =
    "hidutil: note: keyboard {} ({}): scancode {} was changed by someone else after hidutil and "
    "gives key code {}; it is left as it is\n";
inline constexpr std::string_view noteRecordKept =
    "hidutil: note: the keys are in place, but the record in {} could not be brought up to date "
    "({}); the one written before still restores them\n";
inline constexpr std::string_view noteKeyboardGone =
    "hidutil: note: keyboard {} ({}) went away: {}\n";

// Output.
inline constexpr std::string_view echoHead = "UserKeyMapping:";
inline constexpr std::string_view listOpen = "(\n";
inline constexpr std::string_view listClose = ")\n";
inline constexpr std::string_view listNull = "(null)\n";
inline constexpr std::string_view entryOpen = "        {\n";
inline constexpr std::string_view entryLine = "        {} = {};\n";
inline constexpr std::string_view entryClose = "    }";
inline constexpr std::string_view entrySeparator = ",\n";
inline constexpr std::string_view matchedHeading = "RegistryID  Key                   Value\n";
inline constexpr std::string_view matchedRowKey = "UserKeyMapping   ";
inline constexpr std::string_view servicesHeading = "Services:\n";
inline constexpr std::string_view devicesHeading = "Devices:\n";
inline constexpr std::string_view nullText = "(null)";
inline constexpr std::string_view builtInYes = "1";
inline constexpr std::string_view builtInNo = "0";
inline constexpr const char* serviceColumns[] = {
    "VendorID",  "ProductID", "LocationID", "UsagePage", "Usage",   "RegistryID",
    "Transport", "Class",     "Product",    "UserClass", "Built-In"};
inline constexpr const char* deviceColumns[] = {"VendorID",  "ProductID", "LocationID",
                                                "Transport", "Product",   "Built-In"};
inline constexpr std::string_view keyboardClass = "KeyvaneEvdevKeyboard";
inline constexpr std::string_view otherClass = "KeyvaneEvdevService";

// Status.
inline constexpr std::string_view statusKeyboardLine = "keyboard {} {} {} {}\n";
inline constexpr std::string_view statusMappingLine = "mapping {} {} {}\n";
inline constexpr std::string_view statusKeyLine = "key {} {} {}\n";
inline constexpr std::string_view statusOriginalsUnknownLine = "originals unknown\n";
inline constexpr std::string_view statusUnopenedLine = "unopened {} {} {}\n";
// The status JSON: "{}" in a key's place takes the key from the contract.
inline constexpr std::string_view statusJsonOriginalsUnknown = "\"{}\": \"{}\", ";
inline constexpr std::string_view stateInstalled = contract::stateInstalled;
inline constexpr std::string_view statePermanent = contract::statePermanent;
inline constexpr std::string_view stateSkipped = contract::stateSkipped;
inline constexpr std::string_view stateOverridden = contract::stateOverridden;
inline constexpr std::string_view stateUnusable = contract::stateUnusable;
inline constexpr std::string_view layerDefault = contract::layerDefault;
inline constexpr std::string_view layerHwdb = contract::layerHwdb;
inline constexpr std::string_view layerKeyvane = contract::layerKeyvane;
inline constexpr std::string_view layerOther = contract::layerOther;
inline constexpr std::string_view statusJsonHead = "{\"{}\": [";
inline constexpr std::string_view statusJsonKeyboard =
    "{}{\"{}\": {}, \"{}\": {}, \"{}\": {}, \"{}\": {}, {}\"{}\": [";
inline constexpr std::string_view statusJsonMapping = "{}{\"{}\": {}, \"{}\": {}, \"{}\": {}}";
inline constexpr std::string_view statusJsonKeys = "], \"{}\": [";
inline constexpr std::string_view statusJsonKey = "{}{\"{}\": {}, \"{}\": {}, \"{}\": {}}";
inline constexpr std::string_view statusJsonUnopenedHead = ", \"{}\": [";
inline constexpr std::string_view statusJsonUnopened = "{}{\"{}\": {}, \"{}\": {}, \"{}\": {}}";

// Transports by bus type.
inline constexpr std::string_view transportUsb = "USB";
inline constexpr std::string_view transportBluetooth = "Bluetooth";
inline constexpr std::string_view transportVirtual = "Virtual";
inline constexpr std::string_view transportInternal = "Internal";
inline constexpr std::string_view transportOther = "Other";
inline constexpr std::string_view inputFolder = "/dev/input";

}  // namespace text

// text with each "{}" replaced by the next argument; extra arguments are ignored.
std::string fill(std::string_view format, std::initializer_list<std::string_view> args);

}  // namespace keyvane::hidutil
