#pragma once

namespace keyvane {

// Whether the application presents itself (regular: its main window is on screen) or runs in the
// background without a window (accessory). Linux desktops have no Dock or per-application menu bar
// to switch, so the policy is the application's own record, read by whoever needs to know.
enum class ActivationPolicy { Regular = 0, Accessory = 1 };

void setActivationPolicy(ActivationPolicy policy);
ActivationPolicy activationPolicy();

}  // namespace keyvane
