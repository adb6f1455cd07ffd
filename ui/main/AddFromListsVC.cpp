#include "ui/main/AddFromListsVC.h"

#include <QDialog>
#include <optional>

#include "engine/KeyTable.h"
#include "ui/KeyPicker.h"
#include "ui/main/AddMapping.h"
#include "ui_AddFromListsW.h"

namespace keyvane {
namespace {

// The key table's entry of the picked key, or none while nothing is picked.
const KeyTable::Entry* picked(const QComboBox* popup) {
    return KeyTable::lookup(popup->currentData().toString().toStdString());
}

// The mapping that the two picks make, or none: both keys must be picked, and a key mapped to
// itself would change nothing.
std::optional<KeyMapping> mappingOf(const QComboBox* originalPopup,
                                    const QComboBox* remappedPopup) {
    const KeyTable::Entry* original = picked(originalPopup);
    const KeyTable::Entry* remapped = picked(remappedPopup);
    if (!original || !remapped || original->usage == remapped->usage)
        return std::nullopt;
    return KeyMapping{{"original", original->name},
                      {"originalId", original->usage},
                      {"remapped", remapped->name},
                      {"remappedId", remapped->usage}};
}

}  // namespace

AddFromListsVC::AddFromListsVC(QWidget* presenter)
    : window_(std::make_unique<QDialog>(presenter)), ui_(std::make_unique<Ui::AddFromListsW>()) {
    ui_->setupUi(window_.get());
    window_->setWindowModality(Qt::WindowModal);
    // Only a new key can be "Disable key", and here the lists do not change as keys are picked.
    ui_->originalPopup->removeItem(fillKeyPicker(ui_->originalPopup));
    offerDisableKey(ui_->remappedPopup, fillKeyPicker(ui_->remappedPopup), true);
    for (QComboBox* popup : {ui_->originalPopup, ui_->remappedPopup})
        connect(popup, &QComboBox::currentIndexChanged, this, &AddFromListsVC::updateApplyEnabled);
    connect(ui_->applyBtn, &QPushButton::clicked, this, &AddFromListsVC::applyClick);
    connect(ui_->cancelBtn, &QPushButton::clicked, window_.get(), &QDialog::reject);
}

AddFromListsVC::~AddFromListsVC() = default;

void AddFromListsVC::updateApplyEnabled() {
    ui_->applyBtn->setEnabled(mappingOf(ui_->originalPopup, ui_->remappedPopup).has_value());
}

void AddFromListsVC::applyClick() {
    const std::optional<KeyMapping> mapping = mappingOf(ui_->originalPopup, ui_->remappedPopup);
    if (!mapping)
        return;
    addMapping(*mapping);
    window_->accept();
}

}  // namespace keyvane
