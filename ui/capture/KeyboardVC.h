#pragma once

#include <QObject>
#include <memory>
#include <string>

#include "ui/capture/KeyEvent.h"

class QComboBox;
class QDialog;
class QWidget;

namespace Ui {
class KeyboardW;
}

namespace keyvane {

// The "Remap a key" window: the original key, then the key it is to produce, each pressed or
// picked from the list; Apply adds the mapping and installs the whole list again. While it is
// open no mapping is installed, so the keys the user presses arrive as themselves.
class KeyboardVC : public QObject {
    Q_OBJECT
  public:
    static constexpr const char* windowTitle = QT_TR_NOOP("Remap a key");
    static constexpr const char* newKeyInstruction = QT_TR_NOOP(
        "Press the new key to remap the original key into (or pick from the below list)");
    // %1: the row (from 1) that maps the captured original key already, %2: that key.
    static constexpr const char* alreadyMappedText = QT_TR_NOOP(
        "Row %1 already maps %2: a key gives one code, so this mapping, added after it, "
        "replaces it.");
    static constexpr int preferredWidth = 511;
    static constexpr int preferredHeight = 138;

    // The window opens over `presenter` (the main window) when there is one; a controller must not
    // outlive its presenter.
    explicit KeyboardVC(QWidget* presenter = nullptr);
    ~KeyboardVC() override;

    QDialog* window() const { return window_.get(); }

    void viewDidLoad();
    void viewDidAppear();
    void handleKeyEvent(const KeyEvent& event);
    void keyPopupChanged(QComboBox* sender);
    void applyClick();
    void cancelClick();

  private:
    void fillKeyPopup();
    void announceKeys();
    QString alreadyMappedNote() const;
    void closeWindow();

    std::unique_ptr<QDialog> window_;
    std::unique_ptr<Ui::KeyboardW> ui_;
    int step_ = 0;
    std::string originalId_;
    std::string remappedId_;
    // The key table's names, which the record keeps; the labels show more.
    std::string originalName_;
    std::string remappedName_;
    int disableMenuItem_ = -1;  // the picker's row of "Disable key"
};

// The capture controller whose view loaded last, until Apply or Cancel; main thread only.
extern KeyboardVC* currentKeyboardVC;

}  // namespace keyvane
