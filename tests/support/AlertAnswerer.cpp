#include "tests/support/AlertAnswerer.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QtTest/QTest>

#include "platform/MainQueue.h"

namespace keyvane::testing {
namespace {

QMessageBox* openAlert() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(widget); box && box->isVisible())
            return box;
    }
    return nullptr;
}

}  // namespace

AlertAnswerer::AlertAnswerer(std::deque<QString> answers, WhenUnscripted whenUnscripted)
    : answers_(std::move(answers)), whenUnscripted_(whenUnscripted) {
    QObject::connect(&timer_, &QTimer::timeout, [this] { look(); });
    timer_.start(10);
}

bool AlertAnswerer::alertOpen() const {
    return openAlert() != nullptr;
}

void AlertAnswerer::look() {
    QMessageBox* box = openAlert();
    if (!box || box->property("keyvaneAnswered").toBool())
        return;
    if (answers_.empty() && whenUnscripted_ == WhenUnscripted::LeaveOpen)
        return;
    Seen seen{box->text(), box->informativeText(), {}, {}};
    for (QAbstractButton* button : box->buttons()) {
        if (!button->isHidden())
            seen.buttons.push_back(button->text());
    }
    if (box->defaultButton())
        seen.defaultButton = box->defaultButton()->text();
    seen_.push_back(seen);

    QString answer = seen.defaultButton;
    if (!answers_.empty()) {
        answer = answers_.front();
        answers_.pop_front();
    }
    box->setProperty("keyvaneAnswered", true);
    // Click from a fresh turn of the event loop, as a person would, not from inside this timer.
    QPointer<QMessageBox> target(box);
    QTimer::singleShot(0, box, [target, answer] {
        if (!target)
            return;
        if (answer.isEmpty()) {
            QTest::keyClick(target, Qt::Key_Escape);
            return;
        }
        for (QAbstractButton* button : target->buttons()) {
            if (button->text() == answer) {
                button->click();
                return;
            }
        }
    });
}

std::vector<AlertAnswerer::Seen> AlertAnswerer::drain() {
    bool done = false;
    MainQueue::async([&done] { done = true; });
    EXPECT_TRUE(QTest::qWaitFor([&done] { return done; }, 20000)) << "the main queue is stuck";
    std::vector<Seen> since(seen_.begin() + static_cast<std::ptrdiff_t>(drained_), seen_.end());
    drained_ = seen_.size();
    return since;
}

}  // namespace keyvane::testing
