#include <QApplication>
#include <QLocale>
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "app/CommandLine.h"
#include "app/Launch.h"
#include "app/Translation.h"
#include "common/Log.h"
#include "common/Text.h"
#include "platform/Bundle.h"
#include "platform/SessionBus.h"
#include "platform/Translation.h"

namespace {

constexpr const char* noDisplayMessage = QT_TRANSLATE_NOOP(
    "main",
    "Keyvane needs a graphical session to show its window, and this one has none: "
    "neither DISPLAY (X11) nor WAYLAND_DISPLAY (Wayland) is set. Start it from your desktop, or "
    "set one of them.");
constexpr const char* reopenedFromConsoleMessage = QT_TRANSLATE_NOOP(
    "main", "no graphical session here; the running Keyvane was asked to show its window");
constexpr const char* displayUnreachableMessage =
    "Keyvane cannot open its window: the graphical session it was given does not answer "
    "(DISPLAY=";

// Qt brings up its display itself when QT_QPA_PLATFORM names one that needs no session (offscreen,
// vnc, ...); xcb and wayland, which desktops often export for every program, need X11 or Wayland.
bool platformNeedsNoSession() {
    const QStringList platforms =
        qEnvironmentVariable("QT_QPA_PLATFORM").split(';', Qt::SkipEmptyParts);
    for (const QString& platform : platforms) {
        if (!platform.startsWith("xcb") && !platform.startsWith("wayland"))
            return true;
    }
    return false;
}

bool hasGraphicalSession() {
    return platformNeedsNoSession() || !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// A console cannot show the window, but it can still ask the copy that runs on the desktop (on the
// same session bus) to show its own. Ends with 0 when that copy answered, 1 otherwise.
int startWithoutGraphicalSession(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    keyvane::installTranslators(QLocale::system());
    if (keyvane::session_bus::isRunning(keyvane::bundle::appIdentifier) &&
        keyvane::Launch::askRunningCopyToReopen(keyvane::LaunchToken::fromEnvironment()) ==
            keyvane::Launch::Outcome::HandedToRunningCopy) {
        keyvane::warn(keyvane::translated("main", reopenedFromConsoleMessage));
        return 0;
    }
    keyvane::warn(keyvane::translated("main", noDisplayMessage));
    return 1;
}

constexpr const char* platformFallbackMessage =
    QT_TRANSLATE_NOOP("main", "Keyvane could not reach %1, so its window opens on %2 instead.");
constexpr const char* waylandSession = "Wayland (WAYLAND_DISPLAY=%1)";
constexpr const char* x11Session = "X11 (DISPLAY=%1)";

// Qt's own words while it brings up the display; shown only when it succeeds.
struct DisplayMessage {
    std::string category;
    std::string text;
};
std::vector<DisplayMessage> displayMessages;

std::string sessionOf(const QString& platform) {
    if (platform.startsWith("wayland"))
        return keyvane::fillIn(waylandSession, {qgetenv("WAYLAND_DISPLAY").toStdString()});
    if (platform.startsWith("xcb"))
        return keyvane::fillIn(x11Session, {qgetenv("DISPLAY").toStdString()});
    return platform.toStdString();
}

// When the first platform that QT_QPA_PLATFORM (or the session type) names cannot start, Qt goes
// on with the next one, in words meant for a broken installation ("Could not load the Qt platform
// plugin"); one line says instead which session did not answer. What Qt said up to then was the
// failed platform's.
void showDisplayMessages() {
    const auto lastFailure = std::find_if(
        displayMessages.rbegin(), displayMessages.rend(),
        [](const DisplayMessage& message) { return message.category == "qt.qpa.plugin"; });
    if (lastFailure != displayMessages.rend()) {
        const QString used = QGuiApplication::platformName();
        const QString failed = used.startsWith("wayland") ? "xcb" : "wayland";
        keyvane::warn(keyvane::fillIn(keyvane::translated("main", platformFallbackMessage),
                                      {sessionOf(failed), sessionOf(used)}));
    }
    for (auto message = lastFailure.base(); message != displayMessages.end(); ++message)
        keyvane::warn(message->text);
}

// A display that is named but does not answer (a stale DISPLAY, an ended session) makes Qt abort
// with advice to reinstall; say instead what is wrong, and end with 1.
void exitOnDisplayFailure(QtMsgType type, const QMessageLogContext& context,
                          const QString& message) {
    if (type != QtFatalMsg) {
        displayMessages.push_back(
            {context.category ? context.category : "", message.toStdString()});
        return;
    }
    keyvane::warn(displayUnreachableMessage + qgetenv("DISPLAY").toStdString() +
                  ", WAYLAND_DISPLAY=" + qgetenv("WAYLAND_DISPLAY").toStdString() + ").");
    std::_Exit(1);
}

}  // namespace

int main(int argc, char** argv) {
    // The trace goes to standard output, which may be a pipe whose reader has gone (the login
    // helper that started Keyvane, or `keyvane --list | head`): writing there must fail quietly.
    std::signal(SIGPIPE, SIG_IGN);
    if (argc > 1)
        return keyvane::CommandLine::main(argc, argv);
    if (!hasGraphicalSession())
        return startWithoutGraphicalSession(argc, argv);

    const keyvane::LaunchToken token = keyvane::LaunchToken::fromEnvironment();
    QtMessageHandler previousHandler = qInstallMessageHandler(exitOnDisplayFailure);
    QApplication application(argc, argv);
    qInstallMessageHandler(previousHandler);
    keyvane::installTranslators(QLocale::system());
    showDisplayMessages();
    QApplication::setApplicationName("Keyvane");
    QApplication::setDesktopFileName(keyvane::bundle::appIdentifier);
    keyvane::bundle::appendProgramFolderToPath();

    keyvane::Launch launch(keyvane::LifecycleSettings(), token);
    switch (launch.start()) {
        case keyvane::Launch::Outcome::HandedToRunningCopy:
            return 0;
        case keyvane::Launch::Outcome::RunningCopyDidNotAnswer:
        case keyvane::Launch::Outcome::RunningOutOfReach:
            return 1;
        case keyvane::Launch::Outcome::Running:
            break;
    }
    QApplication::exec();
    return 0;
}
