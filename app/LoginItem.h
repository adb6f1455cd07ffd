#pragma once

#include <QtGlobal>

namespace keyvane {

inline constexpr const char* loginItemAlertTitle = "Keyvane";
inline constexpr const char* loginItemAlertText =
    QT_TRANSLATE_NOOP("LoginItem", "Error setting apply at login value");

// Enables or disables the login helper as a login item, as "applyatlogin" says; an alert tells
// the user when that fails.
void updateLoginItem();

// A login item with no "applyatlogin" stored (the settings file was lost, or unreadable) still
// says what the user chose: the setting follows it, so that the checkbox and the item agree.
void adoptLoginItem();

}  // namespace keyvane
