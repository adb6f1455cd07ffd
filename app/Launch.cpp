#include "app/Launch.h"

#include <unistd.h>

#include <QApplication>
#include <QIcon>
#include <QMainWindow>

#include "app/LoginItem.h"
#include "app/SettingsAlerts.h"
#include "common/Log.h"
#include "engine/MappingApplier.h"
#include "engine/MappingStatus.h"
#include "permanent/PermanentCommand.h"
#include "platform/Alert.h"
#include "platform/Bundle.h"
#include "platform/Translation.h"
#include "remote/SCL.h"
#include "ui/main/MainVC.h"

namespace keyvane {

Launch::Launch(LifecycleSettings settings, LaunchToken token)
    : token_(std::move(token)), delegate_(std::move(settings)) {}

Launch::~Launch() = default;

Launch::Outcome Launch::start() {
    commands_.registerOnBus();
    switch (instance_.claim(bundle::appIdentifier)) {
        case SingleInstance::Claim::AlreadyRunning:
            return askRunningCopyToReopen(token_);
        case SingleInstance::Claim::RunningOutOfReach:
            warn(translated("Launch", outOfReachMessage));
            return Outcome::RunningOutOfReach;
        case SingleInstance::Claim::NoBus:
            warn(translated("Launch", noBusMessage));
            break;
        case SingleInstance::Claim::NameRefused:  // claim said what this copy cannot do
        case SingleInstance::Claim::First:
            break;
    }

    alertOnSettingsProblems();
    QApplication::setQuitOnLastWindowClosed(
        delegate_.applicationShouldTerminateAfterLastWindowClosed());
    MappingApplier::setEffects(
        {SCL::logEvent, SCL::logError,
         [](const std::string& text, const std::string& title) { showAlert(text, title, {}); }});
    // Every installation from here on is read back, and the window says what became of it; the one
    // that the view makes as it loads only once the window is on screen: the read-back may be a
    // shell of its own, and the user waits for the window, not for it.
    MappingStatus::followInstallations([] {
        if (currentMainVC)
            currentMainVC->statusChanged();
    });
    MappingStatus::holdChecks();
    // pkexec asks polkit for the helper; a Keyvane that already runs as root starts it itself.
    mainVC_ = std::make_unique<MainVC>(
        updateLoginItem, PermanentSettings{{bundle::permanentHelperPath(), ::geteuid() != 0}});
    adoptLoginItem();
    mainVC_->viewDidLoad();
    delegate_.setWindow(mainVC_->MainWin());
    // Without the second start's token, a desktop that prevents focus stealing (every Wayland
    // compositor) would leave the window behind the one the user works in.
    QObject::connect(&instance_, &SingleInstance::reopenRequested, &delegate_,
                     [this](const LaunchToken& token) {
                         token.useForNextActivation();
                         delegate_.applicationShouldHandleReopen(mainVC_->MainWin()->isVisible());
                     });
    // A login launch installs again before then, and both installations are read back once. The
    // icon theme is searched then too: a window manager takes the icon of a mapped window.
    delegate_.applicationDidFinishLaunching([] {
        MappingStatus::releaseChecks();
        QApplication::setWindowIcon(QIcon::fromTheme(bundle::appIdentifier));
    });
    return Outcome::Running;
}

Launch::Outcome Launch::askRunningCopyToReopen(const LaunchToken& token) {
    std::string error;
    if (SingleInstance::askToReopen(bundle::appIdentifier, token, error))
        return Outcome::HandedToRunningCopy;
    warn(translated("Launch", notAnsweringMessage) + error);
    return Outcome::RunningCopyDidNotAnswer;
}

}  // namespace keyvane
