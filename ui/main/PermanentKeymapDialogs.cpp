#include "ui/main/PermanentKeymapDialogs.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

#include "permanent/PermanentCommand.h"
#include "platform/Alert.h"
#include "platform/MainQueue.h"
#include "platform/Translation.h"

namespace keyvane {
namespace {

// The countdown's words are the helper's, marked where they are kept.
QString keymapText(const char* text) {
    return QCoreApplication::translate("PermanentKeymap", text);
}

}  // namespace

KeepKeysDialog::KeepKeysDialog(QWidget* parent, std::chrono::milliseconds second)
    : QDialog(parent),
      secondsLeft_(permanent::countdownSeconds),
      text_(new QLabel(this)),
      timer_(new QTimer(this)) {
    setWindowTitle(keymapText(PermanentKeymap::keepTitle));
    setModal(true);
    auto* icon = new QLabel(this);
    const int size = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxQuestion).pixmap(size, size));
    icon->setAlignment(Qt::AlignTop);
    auto* title = new QLabel(keymapText(PermanentKeymap::keepTitle), this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    // A width of its own: the count's digits change, and the window must not jump as they do.
    text_->setMinimumWidth(
        text_->fontMetrics().horizontalAdvance(keymapText(PermanentKeymap::keepText).arg("00")) +
        8);
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* keep =
        buttons->addButton(keymapText(PermanentKeymap::keepButton), QDialogButtonBox::AcceptRole);
    buttons->addButton(keymapText(PermanentKeymap::changeBackButton), QDialogButtonBox::RejectRole);
    keep->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* texts = new QVBoxLayout;
    texts->addWidget(title);
    texts->addWidget(text_);
    auto* row = new QHBoxLayout;
    row->addWidget(icon);
    row->addSpacing(12);
    row->addLayout(texts, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(buttons);
    // Nothing to gain from a larger window; fixed, it gets no maximise button either.
    layout->setSizeConstraint(QLayout::SetFixedSize);

    showSecondsLeft();
    timer_->setInterval(second);
    connect(timer_, &QTimer::timeout, this, &KeepKeysDialog::tick);
    timer_->start();
}

void KeepKeysDialog::tick() {
    --secondsLeft_;
    showSecondsLeft();
    // No answer in time is no answer: the keys go back, as the helper would do by itself.
    if (secondsLeft_ <= 0) {
        timer_->stop();
        reject();
    }
}

void KeepKeysDialog::showSecondsLeft() {
    text_->setText(keymapText(PermanentKeymap::keepText).arg(secondsLeft_));
}

PermanentKeymapDialogs::PermanentKeymapDialogs(QWidget* window, PermanentSettings settings)
    : QObject(window),
      window_(window),
      countdownSecond_(settings.countdownSecond),
      keymap_(std::move(settings.helper),
              {[this] { changed(); },
               [this](const PermanentKeymap::Result& result) { finished(result); },
               {}}) {}

bool PermanentKeymapDialogs::helperMissing() {
    if (keymap_.installed())
        return false;
    const PermanentKeymap::Message message = PermanentKeymap::outcomeMessage(
        {PermanentKeymap::Outcome::NotInstalled, keymap_.helper().path}, removing_);
    showAlert(message.text, message.title, {});
    return true;
}

void PermanentKeymapDialogs::makePermanent() {
    if (running())
        return;
    removing_ = false;
    if (keyMappings.empty()) {
        showAlert(keymapText(PermanentKeymap::nothingToMakeText).toStdString(),
                  keymapText(PermanentKeymap::nothingToMakeTitle).toStdString(), {});
        return;
    }
    if (helperMissing())
        return;
    const PermanentKeymap::Message question = PermanentKeymap::makeQuestion();
    if (runModalAlert(question.text, question.title,
                      {translated("PermanentKeymap", PermanentKeymap::makeButton),
                       translated("PermanentKeymap", PermanentKeymap::cancelButton)}) != 0)
        return;
    emit runningChanged(true);
    keymap_.make();
}

void PermanentKeymapDialogs::removePermanent() {
    if (running())
        return;
    removing_ = true;
    if (helperMissing())
        return;
    const PermanentKeymap::Message question = PermanentKeymap::removeQuestion();
    if (runModalAlert(question.text, question.title,
                      {translated("PermanentKeymap", PermanentKeymap::removeButton),
                       translated("PermanentKeymap", PermanentKeymap::cancelButton)}) != 0)
        return;
    emit runningChanged(true);
    keymap_.remove();
}

void PermanentKeymapDialogs::changed() {
    dialog_ = new KeepKeysDialog(window_, countdownSecond_);
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog_, &QDialog::finished, this, [this](int answer) {
        if (answer == QDialog::Accepted)
            keymap_.keep();
        else
            keymap_.putBack();
    });
    dialog_->open();
}

void PermanentKeymapDialogs::finished(const PermanentKeymap::Result& result) {
    // The helper may have given up by itself: the countdown has nothing left to answer.
    if (dialog_) {
        dialog_->disconnect(this);
        dialog_->close();
    }
    emit runningChanged(false);
    const PermanentKeymap::Message message = PermanentKeymap::outcomeMessage(result, removing_);
    switch (result.outcome) {
        case PermanentKeymap::Outcome::Failed:
        case PermanentKeymap::Outcome::NotAuthorized:
        case PermanentKeymap::Outcome::NotInstalled:
            showAlert(message.text, message.title, {});
            break;
        default:
            // Not a failure: told without the warning sign, once the helper's signal has returned.
            MainQueue::async([message] {
                runModalAlert(message.text, message.title, {tr(okButton).toStdString()});
            });
            break;
    }
}

}  // namespace keyvane
