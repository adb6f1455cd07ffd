#pragma once

#include <QtGlobal>

namespace keyvane {

// %1: the settings file, %2: why, %3: where the file that did not parse was kept.
inline constexpr const char* settingsUnreadableAlertTitle =
    QT_TRANSLATE_NOOP("SettingsAlerts", "Your settings could not be read");
inline constexpr const char* settingsCorruptKeptAlertText = QT_TRANSLATE_NOOP(
    "SettingsAlerts",
    "Keyvane could not read %1 (%2), so it started without your mappings and settings. The "
    "unreadable file was kept as %3.");
inline constexpr const char* settingsCorruptInTheWayAlertText = QT_TRANSLATE_NOOP(
    "SettingsAlerts",
    "Keyvane could not read %1 (%2), so it started without your mappings and settings. The file "
    "could not be moved aside either, so nothing will be saved until you move it away.");
inline constexpr const char* settingsUnreadableAlertText = QT_TRANSLATE_NOOP(
    "SettingsAlerts",
    "Keyvane could not read %1 (%2), so it started without your mappings and settings. It left "
    "that as it is and will not save over it while it runs, so what you change now lasts until "
    "Keyvane ends. Make sure it is a file you can read, then start Keyvane again.");
inline constexpr const char* settingsNotSavedAlertTitle =
    QT_TRANSLATE_NOOP("SettingsAlerts", "Your settings could not be saved");
inline constexpr const char* settingsNotSavedAlertText = QT_TRANSLATE_NOOP(
    "SettingsAlerts",
    "Keyvane could not save your settings to %1 (%2). Your change is in effect now but will be "
    "gone the next time Keyvane starts. Make sure the folder can be written, then make the change "
    "again.");

// From now on, the user is told in an alert when the settings file cannot be read or saved.
void alertOnSettingsProblems();

}  // namespace keyvane
