#include "platform/Alert.h"

#include <QGridLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QSpacerItem>
#include <utility>

#include "platform/MainQueue.h"

namespace keyvane {
namespace {

// A message box is only as wide as its text, so a short alert got a title bar too narrow for
// "Keyvane" and no picture telling what kind of message it is.
void setUp(QMessageBox& box, QMessageBox::Icon icon, const std::string& title,
           const std::string& text) {
    constexpr int minimumWidth = 440;
    box.setIcon(icon);
    box.setText(QString::fromStdString(title));
    box.setInformativeText(QString::fromStdString(text));
    if (auto* grid = qobject_cast<QGridLayout*>(box.layout()))
        grid->addItem(new QSpacerItem(minimumWidth, 0, QSizePolicy::Minimum), grid->rowCount(), 0,
                      1, grid->columnCount());
}

}  // namespace

void showAlert(const std::string& text, const std::string& title, std::function<void()> then) {
    MainQueue::async([text, title, then = std::move(then)] {
        QMessageBox box;
        setUp(box, QMessageBox::Warning, title, text);  // every alert of this kind is a failure
        box.setStandardButtons(QMessageBox::Ok);
        box.setDefaultButton(QMessageBox::Ok);
        box.exec();
        if (then)
            then();
    });
}

int runModalAlert(const std::string& text, const std::string& title,
                  const std::vector<std::string>& buttons) {
    QMessageBox box;
    setUp(box, QMessageBox::Information, title, text);
    std::vector<QPushButton*> added;
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        // Only the first button accepts; none rejects, so Escape and closing the window pick no
        // button instead of silently choosing one of them.
        const auto role = i == 0 ? QMessageBox::AcceptRole : QMessageBox::ActionRole;
        added.push_back(box.addButton(QString::fromStdString(buttons[i]), role));
    }
    if (!added.empty())
        box.setDefaultButton(added.front());
    // A message box without an escape button ignores Escape and its title bar's close button;
    // this one, never shown, lets both close it.
    QPushButton* escape = box.addButton(QMessageBox::Cancel);
    escape->hide();
    box.setEscapeButton(escape);
    box.exec();
    for (std::size_t i = 0; i < added.size(); ++i) {
        if (box.clickedButton() == added[i])
            return static_cast<int>(i);
    }
    return -1;
}

}  // namespace keyvane
