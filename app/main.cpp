#include <QApplication>
#include <QIcon>
#include <csignal>

#include "app/Launch.h"
#include "platform/Bundle.h"

namespace {

// hidutil is installed beside keyvane. Its folder goes at the end of PATH, so that a hidutil found
// earlier (a test double, or one the user prefers) still wins.
void appendProgramFolderToPath() {
    QByteArray path = qgetenv("PATH");
    if (!path.isEmpty())
        path += ':';
    qputenv("PATH", path + QCoreApplication::applicationDirPath().toLocal8Bit());
}

}  // namespace

int main(int argc, char** argv) {
    // The trace goes to standard output, which may be a pipe whose reader has gone (the login
    // helper that started Keyvane, say): writing there must fail quietly, not end the application.
    std::signal(SIGPIPE, SIG_IGN);
    QApplication application(argc, argv);
    QApplication::setApplicationName("Keyvane");
    QApplication::setDesktopFileName(keyvane::bundle::appIdentifier);
    QApplication::setWindowIcon(QIcon::fromTheme(keyvane::bundle::appIdentifier));
    appendProgramFolderToPath();

    keyvane::Launch launch;
    switch (launch.start()) {
        case keyvane::Launch::Outcome::HandedToRunningCopy:
            return 0;
        case keyvane::Launch::Outcome::RunningCopyDidNotAnswer:
            return 1;
        case keyvane::Launch::Outcome::Running:
            break;
    }
    QApplication::exec();
    return 0;
}
