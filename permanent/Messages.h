#pragma once

#include <string_view>

// Every text keyvane-permanent writes on standard error. "{}" marks where hidutil's fill() puts its
// arguments, in order.
namespace keyvane::permanent::text {

inline constexpr std::string_view usage =
    "usage: keyvane-permanent make PROPERTY [--matching MATCHING]\n"
    "       keyvane-permanent remove\n"
    "Writes Keyvane's permanent keymap (udev's hwdb), or removes it; run by Keyvane through "
    "pkexec.\n";
inline constexpr std::string_view needsRoot =
    "keyvane-permanent: only root may change the permanent keymap; Keyvane runs this through "
    "pkexec\n";
inline constexpr std::string_view busy =
    "keyvane-permanent: another change of the permanent keymap is under way; try again when it "
    "is done\n";
inline constexpr std::string_view notOurs =
    "keyvane-permanent: {} was not written by Keyvane, so it is left as it is; move it away "
    "first to make a list permanent here\n";
inline constexpr std::string_view unreadable = "keyvane-permanent: cannot read {}: {}\n";
inline constexpr std::string_view badList = "keyvane-permanent: the list cannot be read: {}\n";
inline constexpr std::string_view emptyList =
    "keyvane-permanent: the list is empty; \"remove\" removes the permanent keymap\n";
inline constexpr std::string_view noKeyboard = "keyvane-permanent: no keyboard matches {}\n";
inline constexpr std::string_view noKeyboardAtAll = "keyvane-permanent: no keyboard is connected\n";
inline constexpr std::string_view noKeys =
    "keyvane-permanent: no keyboard has a key the list changes; nothing was written\n";
inline constexpr std::string_view noDevices = "keyvane-permanent: cannot read the keyboards: {}\n";
inline constexpr std::string_view notValid =
    "keyvane-permanent: the new permanent keymap did not compile as written ({}); nothing was "
    "changed\n";
inline constexpr std::string_view cannotWrite =
    "keyvane-permanent: cannot write {}: {}; nothing was changed\n";
inline constexpr std::string_view notCompiled =
    "keyvane-permanent: udev's hwdb could not be compiled ({}); the previous file is back\n";
inline constexpr std::string_view notApplied =
    "keyvane-permanent: the keyboards did not take the change ({}); putting the previous "
    "permanent keymap back\n";
inline constexpr std::string_view keyNotTaken = "{}: scancode {} gives key code {}, not {}";
inline constexpr std::string_view stuck =
    "keyvane-permanent: the previous permanent keymap could not be put back either ({}). Remove "
    "{} by hand, run \"systemd-hwdb update\" and \"udevadm trigger --action=change "
    "--subsystem-match=input\", then plug the keyboards in again or restart\n";
inline constexpr std::string_view made =
    "keyvane-permanent: {} key(s) are permanent on: {}. They are written in {}.\n";
inline constexpr std::string_view laterKeyboards =
    "keyvane-permanent: a keyboard first plugged in later is not covered until the list is made "
    "permanent again.\n";
inline constexpr std::string_view previousBack =
    "keyvane-permanent: no answer, so the previous permanent keymap is back.\n";
inline constexpr std::string_view noneBack =
    "keyvane-permanent: no answer, so no permanent keymap is in place, as before.\n";
inline constexpr std::string_view removed =
    "keyvane-permanent: the permanent keymap is removed; its keys have their previous codes "
    "again.\n";
inline constexpr std::string_view nothingToRemove =
    "keyvane-permanent: no permanent keymap is in place.\n";

}  // namespace keyvane::permanent::text
