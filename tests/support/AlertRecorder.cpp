#include "tests/support/AlertRecorder.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QtTest/QTest>

#include "platform/MainQueue.h"

namespace keyvane::testing {

AlertRecorder::AlertRecorder(int button) : button_(button) {
    poll_.setInterval(5);
    connect(&poll_, &QTimer::timeout, this, &AlertRecorder::answerOpenAlert);
    poll_.start();
}

void AlertRecorder::answerOpenAlert() {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!box || !box->isVisible())
        return;
    Alert alert{box->text().toStdString(), box->informativeText().toStdString(), {}};
    const QList<QAbstractButton*> buttons = box->buttons();  // in the order they were added
    for (QAbstractButton* button : buttons)
        alert.buttons.push_back(button->text().toStdString());
    seen_.push_back(alert);
    if (button_ < buttons.size())
        buttons[button_]->click();
}

std::vector<AlertRecorder::Alert> AlertRecorder::drain() {
    bool done = false;
    MainQueue::async([&done] { done = true; });
    EXPECT_TRUE(QTest::qWaitFor([&done] { return done; }, 20000)) << "the main queue is stuck";
    return std::exchange(seen_, {});
}

}  // namespace keyvane::testing
