#include <QApplication>
#include <QMainWindow>

#include "ui/main/MainVC.h"

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
    QApplication application(argc, argv);
    appendProgramFolderToPath();
    keyvane::MainVC mainVC;
    mainVC.viewDidLoad();
    mainVC.MainWin()->show();
    return QApplication::exec();
}
