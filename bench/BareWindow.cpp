// The peer that launch_bench measures Keyvane's start against: a Qt window with what Keyvane's
// window shows in the same places (a menu bar and a table), and nothing behind it: no settings, no
// bus, no shells. Ends when its window is closed.
#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QStandardItemModel>
#include <QTableView>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QMainWindow window;
    QMenu* file = window.menuBar()->addMenu("File");
    file->addAction("Add Mapping");
    file->addAction("Close Window");
    QStandardItemModel model(3, 3);
    model.setHorizontalHeaderLabels({"Original key", "New key", "Status"});
    for (int row = 0; row < model.rowCount(); ++row)
        for (int column = 0; column < model.columnCount(); ++column)
            model.setItem(row, column, new QStandardItem("Caps Lock"));
    auto* table = new QTableView;
    table->setModel(&model);
    window.setCentralWidget(table);
    window.show();
    return QApplication::exec();
}
