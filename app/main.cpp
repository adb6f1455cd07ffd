#include <QApplication>
#include <QMainWindow>

#include "ui/main/MainVC.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    keyvane::MainVC mainVC;
    mainVC.viewDidLoad();
    mainVC.MainWin()->show();
    return QApplication::exec();
}
