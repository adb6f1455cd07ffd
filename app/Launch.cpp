#include "app/Launch.h"

#include <QApplication>
#include <QMainWindow>
#include <iostream>

#include "platform/Bundle.h"
#include "ui/main/MainVC.h"

namespace keyvane {

Launch::Launch(LifecycleSettings settings) : delegate_(std::move(settings)) {}

Launch::~Launch() = default;

Launch::Outcome Launch::start() {
    switch (instance_.claim(bundle::appIdentifier)) {
        case SingleInstance::Claim::AlreadyRunning: {
            std::string error;
            if (SingleInstance::askToReopen(bundle::appIdentifier, error))
                return Outcome::HandedToRunningCopy;
            std::cerr << "keyvane: Keyvane already runs but does not answer: " << error
                      << std::endl;
            return Outcome::RunningCopyDidNotAnswer;
        }
        case SingleInstance::Claim::NoBus:
            std::cerr << "keyvane: no session bus; starting as a normal launch (a second start "
                         "will not find this one, and the login helper cannot be told to quit)"
                      << std::endl;
            break;
        case SingleInstance::Claim::First:
            break;
    }

    QApplication::setQuitOnLastWindowClosed(
        delegate_.applicationShouldTerminateAfterLastWindowClosed());
    mainVC_ = std::make_unique<MainVC>();
    mainVC_->viewDidLoad();
    delegate_.setWindow(mainVC_->MainWin());
    QObject::connect(&instance_, &SingleInstance::reopenRequested, &delegate_, [this] {
        delegate_.applicationShouldHandleReopen(mainVC_->MainWin()->isVisible());
    });
    delegate_.applicationDidFinishLaunching();
    return Outcome::Running;
}

}  // namespace keyvane
