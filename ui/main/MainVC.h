#pragma once

#include <QAbstractTableModel>
#include <functional>
#include <memory>

#include "ui/main/PermanentKeymapDialogs.h"

class QCheckBox;
class QComboBox;
class QMainWindow;

namespace Ui {
class MainWindow;
}

namespace keyvane {

class InstallationSummary;
class AddFromListsVC;
class KeyboardVC;
class MappingHistory;
class SegmentedControl;

// The main window: the table of mappings (this controller is its data source), adding and
// removing mappings, the target keyboard, apply-at-login and quit. Every change is stored first
// and then the whole list is installed again.
class MainVC : public QAbstractTableModel {
    Q_OBJECT
  public:
    // Column identifiers are record keys: a cell shows the record's value under its column's key.
    static constexpr const char* originalColumn = "original";
    static constexpr const char* remappedColumn = "remapped";
    // The third column is no record key: it says what the kernel does with the mapping.
    static constexpr int statusColumn = 2;
    static constexpr int columnIdentifierRole = Qt::UserRole;
    // %1: the most mappings one installation can carry, %2: how many the list has, %3: how many
    // to remove ("1 mapping").
    static constexpr const char* listFullAlertTitle = QT_TR_NOOP("No room for another mapping");
    static constexpr const char* listFullAlertText = QT_TR_NOOP(
        "One installation can carry at most %1 mappings, and your list has %2. Remove %3 before "
        "you add another.");

    // `updateLoginItem` makes the login item follow the stored "applyatlogin" choice; `permanent`
    // names the helper of File > Make Permanent… (none: it says Keyvane is not installed).
    explicit MainVC(std::function<void()> updateLoginItem, PermanentSettings permanent = {},
                    QObject* parent = nullptr);
    ~MainVC() override;

    QMainWindow* MainWin() const { return window_.get(); }

    void viewDidLoad();
    void viewWillAppear();
    void viewDidDisappear();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    void segmentedBtnClick(SegmentedControl* sender);
    void keyboardPopupChanged(QComboBox* sender);
    void applyCheckboxClicked(QCheckBox* sender);
    void quitBtnClicked();

    // File > Make Permanent… and Remove Permanent Keymap.
    PermanentKeymapDialogs& permanentKeymap() const { return *permanent_; }

    // Shows `keyMappings` again after records were appended elsewhere.
    void reloadTable();
    // Selects the last mapping, just added, and scrolls to it, however long the list.
    void selectLastRow();
    // Shows the list, the keyboard choice and apply-at-login as stored after a change made
    // elsewhere (the command line, File > Import), as a step that Undo takes back.
    void showStoredChoices();
    // Shows the mapping just added to the list, selected, as a step that Undo takes back.
    void mappingAdded();
    // Shows what the last read-back found.
    void statusChanged();

  private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void connectActions();
    void sizeKeyColumns();
    void fitToScreen();
    void updateRemoveEnabled();
    void presentKeyboardVC();
    void importMappings();
    void setUpEditing();
    void matchCurrentToSelection();
    void selectRow(int row);
    bool roomForAnotherMapping() const;
    void presentAddFromListsVC();

    std::function<void()> updateLoginItem_;
    std::unique_ptr<QMainWindow> window_;
    std::unique_ptr<Ui::MainWindow> ui_;
    std::unique_ptr<KeyboardVC> keyboardVC_;  // the last capture window presented
    PermanentKeymapDialogs* permanent_;       // owned by the window
    InstallationSummary* summary_;            // the line above the table and the footer
    bool loaded_ = false;

    std::unique_ptr<AddFromListsVC> addFromListsVC_;  // the last one presented
    MappingHistory* history_ = nullptr;               // Edit > Undo and Redo; owned by this
};

// The controller whose view loaded last; main thread only.
extern MainVC* currentMainVC;
// True while the main window is on screen; main thread only.
extern bool mainWindowShown;

}  // namespace keyvane
