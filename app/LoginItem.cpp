#include "app/LoginItem.h"

#include <QCoreApplication>

#include "common/Log.h"
#include "engine/MappingStore.h"
#include "platform/Alert.h"
#include "platform/Bundle.h"
#include "platform/DefaultsKeys.h"
#include "platform/LoginItems.h"
#include "platform/Translation.h"
#include "platform/UserDefaults.h"

namespace keyvane {
namespace {

constexpr const char* launcherExecutableName = "keyvane-launcher";

// The helper is installed beside the application, in the build tree and when installed alike.
std::filesystem::path launcherExecutable() {
    return std::filesystem::path(QCoreApplication::applicationDirPath().toStdString()) /
           launcherExecutableName;
}

}  // namespace

void adoptLoginItem() {
    if (UserDefaults::standard().objectForKey(defaults_keys::applyAtLogin) == nullptr &&
        std::filesystem::exists(LoginItems::entryPath(bundle::launcherIdentifier)))
        MappingStore::saveApplyAtLogin(true);
}

void updateLoginItem() {
    const bool enabled = MappingStore::loadApplyAtLogin();
    std::string error;
    if (LoginItems::setEnabled(bundle::launcherIdentifier, launcherExecutable(), enabled, error))
        return;
    warn(error);
    showAlert(translated("LoginItem", loginItemAlertText), loginItemAlertTitle, [] {});
}

}  // namespace keyvane
