#pragma once

#include <QtGlobal>

// Every fixed text that the remote services send, show or write, in one place.
namespace keyvane::service {

// The web service host comes from the build; this environment variable ("host" or "host:port")
// overrides it when set and not empty.
inline constexpr const char* hostVariable = "KEYVANE_SERVICE_HOST";
inline constexpr const char* scheme = "https://";

inline constexpr const char* eventPath = "/logistics/ln.php?cat=keyvane&evtname=";
inline constexpr const char* eventValueField = "&evtval=";
inline constexpr const char* eventNotesField = "&notes=";
inline constexpr const char* eventDeviceField = "&device=";
inline constexpr const char* eventUserField = "&uid=";
inline constexpr const char* randomField = "&ran=";
inline constexpr const char* errorPath = "/logistics/keyvanelog.php?err=";
inline constexpr const char* configPath = "/configapp/keyvane.php?user=";
inline constexpr const char* downloadPath = "/keyvane/";

// Random query values keep caches in between from answering; drawn below this bound.
inline constexpr unsigned randomBound = 1000000000;

inline constexpr const char* identitySeparator = " - ";
inline constexpr const char* identityAllowed =
    "abcdefghijklmnopqrstuvwxyz ABCDEFGHIJKLMNOPQRSTUVWXYZ1234567890-_";

// Standard output trace.
inline constexpr const char* headerNoMatchFrom = "textfrom - no match";
inline constexpr const char* headerNoMatchTo = "textto - no match";
inline constexpr const char* noErrorNoData = "No error, no data";
inline constexpr const char* configLoaded = "config loaded";

// The configuration answer.
inline constexpr const char* configTag = "config";
inline constexpr const char* padding = "=";
inline constexpr const char* paddingInTransit = "fau";
inline constexpr const char* defaultConfigFlag = "no";
inline constexpr const char* defaultVersion = "1.1";

inline constexpr const char* updateRequiredTitle =
    QT_TRANSLATE_NOOP("UpdateCheck", "App update required");
inline constexpr const char* updateRequiredText = QT_TRANSLATE_NOOP(
    "UpdateCheck",
    "This version is significantly outdated and will no longer work. Please relaunch the app after "
    "downloading the latest version.");
inline constexpr const char* updateRequiredButton =
    QT_TRANSLATE_NOOP("UpdateCheck", "Visit download page");

inline constexpr const char* updateAvailableTitle =
    QT_TRANSLATE_NOOP("UpdateCheck", "App update available");
inline constexpr const char* updateAvailableInstalled =
    QT_TRANSLATE_NOOP("UpdateCheck", "Currently installed: ");
inline constexpr const char* updateAvailableLatest =
    QT_TRANSLATE_NOOP("UpdateCheck", "\nLatest version:");
inline constexpr const char* updateAvailableAdvice = QT_TRANSLATE_NOOP(
    "UpdateCheck", "\n\nIt is recommended that you update the app for stability and performance.");
inline constexpr const char* updateAvailableDownload =
    QT_TRANSLATE_NOOP("UpdateCheck", "Download now");
inline constexpr const char* updateAvailableDontShow =
    QT_TRANSLATE_NOOP("UpdateCheck", "Don't show again for this version");

}  // namespace keyvane::service
