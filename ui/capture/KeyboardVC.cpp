#include "ui/capture/KeyboardVC.h"

#include <QComboBox>
#include <QDialog>
#include <QEvent>
#include <QStandardItemModel>
#include <charconv>

#include "common/Log.h"
#include "engine/KeyTable.h"
#include "engine/MappingApplier.h"
#include "engine/MappingStatus.h"
#include "engine/MappingStore.h"
#include "engine/ShellRunner.h"
#include "platform/KeyboardShortcutsInhibitor.h"
#include "ui/KeyNames.h"
#include "ui/KeyPicker.h"
#include "ui/capture/KeyboardWView.h"
#include "ui/main/AddMapping.h"
#include "ui_KeyboardW.h"

namespace keyvane {

KeyboardVC* currentKeyboardVC = nullptr;

namespace {

// Shows the window's appearance to the controller once, when it first comes on screen.
class AppearanceWatcher : public QObject {
  public:
    AppearanceWatcher(QDialog* window, KeyboardVC* controller)
        : QObject(controller), controller_(controller) {
        window->installEventFilter(this);
    }

  private:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show)
            controller_->viewDidAppear();
        return QObject::eventFilter(watched, event);
    }
    KeyboardVC* controller_;
};

// Until a key is chosen, its label shows what goes there in the colour of a placeholder; a chosen
// key is bold, so the two never look alike.
void showPlaceholder(QLabel* label) {
    QFont font = label->font();
    font.setItalic(true);
    label->setFont(font);
    label->setForegroundRole(QPalette::PlaceholderText);
}

void showKey(QLabel* label, const QString& name) {
    label->setText(name);
    QFont font = label->font();
    font.setItalic(false);
    font.setBold(true);
    label->setFont(font);
    label->setForegroundRole(QPalette::WindowText);
}

}  // namespace

KeyboardVC::KeyboardVC(QWidget* presenter)
    : window_(std::make_unique<QDialog>(presenter)), ui_(std::make_unique<Ui::KeyboardW>()) {
    ui_->setupUi(window_.get());
    window_->setWindowModality(Qt::ApplicationModal);
    window_->setFocusProxy(ui_->keyboardWView);
    // The instruction goes away once both keys are known; the keys must not jump when it does.
    QSizePolicy instructionPolicy = ui_->instructionLbl->sizePolicy();
    instructionPolicy.setRetainSizeWhenHidden(true);
    ui_->instructionLbl->setSizePolicy(instructionPolicy);
    for (QLabel* key : {ui_->srcKeyLbl, ui_->destKeyLbl}) {
        showPlaceholder(key);
        key->setWordWrap(true);  // a PC name and a layout's character make a name long
    }
    ui_->keysLayout->setColumnStretch(0, 1);
    ui_->keysLayout->setColumnStretch(2, 1);
    new AppearanceWatcher(window_.get(), this);
    // Every key is one to map, also those the desktop keeps for its shortcuts.
    new KeyboardShortcutsInhibitor(window_.get());
    connect(ui_->applyBtn, &QPushButton::clicked, this, &KeyboardVC::applyClick);
    connect(ui_->cancelBtn, &QPushButton::clicked, this, &KeyboardVC::cancelClick);
    connect(ui_->keyPopup, &QComboBox::activated, this, [this] { keyPopupChanged(ui_->keyPopup); });
}

KeyboardVC::~KeyboardVC() {
    if (currentKeyboardVC == this)
        currentKeyboardVC = nullptr;
}

void KeyboardVC::viewDidLoad() {
    currentKeyboardVC = this;
    window_->resize(preferredWidth, preferredHeight);
    trace(ShellRunner::run(MappingApplier::clearingCommand));
    MappingStatus::cleared();
    fillKeyPopup();
}

void KeyboardVC::viewDidAppear() {
    window_->setWindowTitle(tr(windowTitle));
    ui_->keyboardWView->setFocus();
}

void KeyboardVC::fillKeyPopup() {
    disableMenuItem_ = fillKeyPicker(ui_->keyPopup);
}

void KeyboardVC::keyPopupChanged(QComboBox* sender) {
    const int row = sender->currentIndex();
    if (row < 0 || sender->itemData(row).isNull())
        return;
    const std::string keyId = sender->itemData(row).toString().toStdString();
    trace("picked: " + sender->itemText(row).toStdString() + " (" + keyId + ")");
    std::uint16_t keyCode = 0;
    auto [end, error] = std::from_chars(keyId.data(), keyId.data() + keyId.size(), keyCode);
    if (error != std::errc() || end != keyId.data() + keyId.size())
        return;
    handleKeyEvent({keyCode, "picked key " + keyId, {}});
}

void KeyboardVC::handleKeyEvent(const KeyEvent& event) {
    trace(event.description);
    const KeyTable::Entry* entry = KeyTable::lookup(std::to_string(event.keyCode));
    if (!entry)
        return;

    const QString shown = shownKeyName(entry->name, QString::fromStdString(event.character));
    if (step_ == 0) {
        showKey(ui_->srcKeyLbl, shown);
        originalId_ = entry->usage;
        originalName_ = entry->name;
        step_ = 1;
        const QString note = alreadyMappedNote();
        ui_->instructionLbl->setText(note.isEmpty() ? tr(newKeyInstruction)
                                                    : tr(newKeyInstruction) + '\n' + note);
        offerDisableKey(ui_->keyPopup, disableMenuItem_, true);
    } else {
        if (entry->usage == originalId_)
            return;  // the original's release, repeats or second press
        showKey(ui_->destKeyLbl, shown);
        remappedId_ = entry->usage;
        remappedName_ = entry->name;
        ui_->applyBtn->setEnabled(true);
        // What is left to say is only that the mapping replaces another one.
        const QString note = alreadyMappedNote();
        ui_->instructionLbl->setText(note);
        ui_->instructionLbl->setVisible(!note.isEmpty());
    }
    announceKeys();
}

// The last row of the original key is the one in effect, so that is the one a new row replaces.
QString KeyboardVC::alreadyMappedNote() const {
    const auto last = MappingStore::lastRowOf(originalId_);
    return last ? tr(alreadyMappedText).arg(*last + 1).arg(QString::fromStdString(originalName_))
                : QString();
}

// The capture area keeps the focus, so a screen reader learns what was captured from its name.
void KeyboardVC::announceKeys() {
    QString keys = tr("Original key: %1").arg(ui_->srcKeyLbl->text());
    if (!remappedId_.empty())
        keys += tr(", new key: %1").arg(ui_->destKeyLbl->text());
    ui_->keyboardWView->setAccessibleName(keys);
}

void KeyboardVC::applyClick() {
    addMapping({{"original", originalName_},
                {"originalId", originalId_},
                {"remapped", remappedName_},
                {"remappedId", remappedId_}});
    closeWindow();
}

void KeyboardVC::cancelClick() {
    closeWindow();
}

void KeyboardVC::closeWindow() {
    currentKeyboardVC = nullptr;
    window_->close();
}

}  // namespace keyvane
