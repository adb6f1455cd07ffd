#pragma once

namespace keyvane {

// The key codes the kernel's HID input layer gives the keyboard usage page (7) by default. The
// hidutil command installs them, and the application translates captured key codes back with
// them, so this stays free of any other part of the project.

// Highest keyboard usage the default table covers (Right GUI).
inline constexpr unsigned lastKeyboardUsage = 0xe7;
// The key code of usages the kernel knows but gives no key of their own.
inline constexpr int unknownKeyCode = 240;

// The Linux key code for a keyboard usage, or 0 when the kernel ignores the usage or the table
// does not reach it. Usages without a key of their own give unknownKeyCode, as in the kernel.
int linuxKeyCodeForUsage(unsigned usage);

}  // namespace keyvane
