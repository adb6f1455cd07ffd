#include <optional>
#include <string>

#include "common/Log.h"
#include "platform/Alert.h"
#include "platform/Application.h"
#include "platform/Browser.h"
#include "platform/DefaultsKeys.h"
#include "platform/Translation.h"
#include "platform/UserDefaults.h"
#include "remote/RemoteConfig.h"
#include "remote/SCL.h"
#include "remote/ServiceTexts.h"
#include "remote/ServiceUrls.h"

namespace keyvane {
namespace {

std::string tr(const char* text) {
    return translated("UpdateCheck", text);
}

}  // namespace

void SCL::fetchConfig() {
    sendRequest(
        service::configUrl(service::randomQueryValue()),
        [](const std::string& text) {
            applyConfig(text);
            checkForUpdate();
        },
        [](const std::string&) { checkForUpdate(); }, "", "", {});
}

void SCL::applyConfig(const std::string& text) {
    if (std::optional<RemoteConfig> config = config_answer::decode(text)) {
        remoteConfig = std::move(*config);
        trace(service::configLoaded);
    }
}

void SCL::checkForUpdate() {
    const std::string& installed = appVersion();
    if (versionSortsBelow(installed, remoteConfig.minimumVersion)) {
        runModalAlert(tr(service::updateRequiredText), tr(service::updateRequiredTitle),
                      {tr(service::updateRequiredButton)});
        // Whether a browser opened cannot be known; this version must not go on running anyway.
        openInBrowser(service::downloadPageUrl());
        terminateApplication();
        return;
    }
    if (!versionSortsBelow(installed, remoteConfig.latestVersion))
        return;

    const std::string latest = remoteConfig.latestVersion;
    UserDefaults& defaults = UserDefaults::standard();
    if (defaults.stringForKey(defaults_keys::noUpdatePrompt).value_or("") == latest)
        return;
    const std::string text = tr(service::updateAvailableInstalled) + installed +
                             tr(service::updateAvailableLatest) + latest +
                             tr(service::updateAvailableAdvice);
    switch (runModalAlert(
        text, tr(service::updateAvailableTitle),
        {tr(service::updateAvailableDownload), tr(service::updateAvailableDontShow)})) {
        case 0:
            openInBrowser(service::downloadPageUrl());
            break;
        case 1:
            defaults.setString(defaults_keys::noUpdatePrompt, latest);
            break;
        default:
            break;
    }
}

}  // namespace keyvane
