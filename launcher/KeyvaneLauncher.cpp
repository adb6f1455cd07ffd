#include "launcher/KeyvaneLauncher.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include "common/Log.h"
#include "platform/Bundle.h"
#include "platform/SessionBus.h"

namespace keyvane {
namespace {

constexpr const char* applicationExecutable = "keyvane";

// Beside this program first (the build folder, or where both were installed), then on PATH.
QString findApplication() {
    const QFileInfo beside(QCoreApplication::applicationDirPath() + "/" + applicationExecutable);
    if (beside.isFile() && beside.isExecutable())
        return beside.filePath();
    return QStandardPaths::findExecutable(applicationExecutable);
}

void say(const std::string& line) {
    warn(line);
}

}  // namespace

KeyvaneLauncher::KeyvaneLauncher(std::chrono::milliseconds patience) {
    patience_.setSingleShot(true);
    patience_.setInterval(patience);
    connect(&patience_, &QTimer::timeout, this, [patience] {
        say("Keyvane did not report its start within " +
            std::to_string(std::chrono::duration_cast<std::chrono::seconds>(patience).count()) +
            " s; quitting");
        QCoreApplication::exit(1);
    });
}

KeyvaneLauncher::Start KeyvaneLauncher::start() {
    if (!session_bus::available()) {
        say("no session bus: Keyvane is not started, since it could not tell a login launch");
        return Start::Failed;
    }
    if (session_bus::isRunning(bundle::appIdentifier)) {
        say("Keyvane already runs; nothing to start");
        return Start::NothingToDo;
    }
    std::string refusal;
    switch (session_bus::claimName(bundle::launcherIdentifier, refusal)) {
        case session_bus::NameClaim::Owned:
            break;
        case session_bus::NameClaim::TakenByAnother:
            say("another keyvane-launcher runs; leaving the start to it");
            return Start::NothingToDo;
        case session_bus::NameClaim::Refused:
            say("the session bus refused keyvane-launcher its name (" + refusal +
                "), so Keyvane is not started: it could not tell a login launch");
            return Start::Failed;
    }
    notifications_.observe(bundle::killLauncherNotification, [](const std::string& object) {
        if (object == bundle::appIdentifier)
            QCoreApplication::exit(0);
    });

    const QString application = findApplication();
    if (application.isEmpty()) {
        say("cannot find keyvane beside this program or on PATH");
        return Start::Failed;
    }
    if (!QProcess::startDetached(application, {})) {
        say("cannot start " + application.toStdString());
        return Start::Failed;
    }
    patience_.start();
    return Start::Waiting;
}

}  // namespace keyvane
