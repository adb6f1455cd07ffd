#include "platform/Alert.h"

#include <QMessageBox>
#include <QPushButton>
#include <utility>

#include "platform/MainQueue.h"

namespace keyvane {

void showAlert(const std::string& text, const std::string& title, std::function<void()> then) {
    MainQueue::async([text, title, then = std::move(then)] {
        QMessageBox box;
        box.setText(QString::fromStdString(title));
        box.setInformativeText(QString::fromStdString(text));
        box.setStandardButtons(QMessageBox::Ok);
        box.setDefaultButton(QMessageBox::Ok);
        box.exec();
        if (then)
            then();
    });
}

int runModalAlert(const std::string& title, const std::string& text,
                  const std::vector<std::string>& buttons) {
    QMessageBox box;
    box.setText(QString::fromStdString(title));
    box.setInformativeText(QString::fromStdString(text));
    std::vector<QPushButton*> added;
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        // Only the first button accepts; none rejects, so Escape and closing the window pick no
        // button instead of silently choosing one of them.
        const auto role = i == 0 ? QMessageBox::AcceptRole : QMessageBox::ActionRole;
        added.push_back(box.addButton(QString::fromStdString(buttons[i]), role));
    }
    if (!added.empty())
        box.setDefaultButton(added.front());
    box.exec();
    for (std::size_t i = 0; i < added.size(); ++i) {
        if (box.clickedButton() == added[i])
            return static_cast<int>(i);
    }
    return -1;
}

}  // namespace keyvane
