#include <gtest/gtest.h>

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMainWindow>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <QToolButton>
#include <QtTest/QTest>
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "app/LoginItem.h"
#include "common/Text.h"
#include "engine/KeyTable.h"
#include "engine/MappingApplier.h"
#include "engine/MappingFile.h"
#include "engine/MappingStatus.h"
#include "engine/MappingStore.h"
#include "engine/PermanentKeymap.h"
#include "hidutil/Status.h"
#include "platform/LoginItems.h"
#include "tests/support/AlertAnswerer.h"
#include "tests/support/FakeHidutil.h"
#include "ui/capture/KeyboardVC.h"
#include "ui/main/InstallationSummary.h"
#include "ui/main/MainVC.h"

namespace keyvane {
namespace {

using testing::AlertAnswerer;
using testing::FakeHidutil;
using Calls = std::vector<std::vector<std::string>>;

KeyMapping record(const std::string& name, const std::string& id) {
    return {{"original", name}, {"originalId", id}, {"remapped", "Escape"}, {"remappedId", "29"}};
}

// The last record lacks the new key's name, as an older or another writer may leave it.
const std::vector<KeyMapping> threeRecords = {
    record("Caps Lock", "39"),
    record("Command", "e3"),
    {{"original", "Tab"}, {"originalId", "2b"}, {"remappedId", "29"}}};

class MainVCTest : public ::testing::Test {
  protected:
    template <typename T>
    T* outlet(const char* name) {
        T* widget = vc->MainWin()->findChild<T*>(name);
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }

    void load(const std::vector<KeyMapping>& stored = {}) {
        if (!stored.empty()) {
            keyMappings = stored;
            MappingStore::saveMappings();
        }
        keyMappings.clear();  // as at a start: the window loads what is stored
        vc = std::make_unique<MainVC>(updateLoginItem, permanent);
        vc->viewDidLoad();
        vc->MainWin()->show();
    }

    QTableView* table() { return outlet<QTableView>("tableView"); }

    std::vector<std::string> column(int col) {
        std::vector<std::string> texts;
        QAbstractItemModel* model = table()->model();
        for (int row = 0; row < model->rowCount(); ++row)
            texts.push_back(model->index(row, col).data().toString().toStdString());
        return texts;
    }

    // On its box, not in the middle of a row that the layout stretched.
    static void clickBox(QCheckBox* checkbox) {
        QTest::mouseClick(checkbox, Qt::LeftButton, {}, QPoint(4, checkbox->height() / 2));
    }

    // What the window manager does when a dialog closes.
    void activateMainWindow() {
        vc->MainWin()->activateWindow();
        ASSERT_TRUE(
            QTest::qWaitFor([this] { return QApplication::activeWindow() == vc->MainWin(); }));
    }

    void clickSegment(const char* name) {
        QTest::mouseClick(outlet<QToolButton>(name), Qt::LeftButton);
    }

    // Edit > Undo (Ctrl+Z) or Redo (Ctrl+Shift+Z): `list` stored, shown, then installed.
    void takeStep(bool redo, const std::vector<KeyMapping>& list) {
        hidutil.clearCalls();
        QTest::keyClick(vc->MainWin(), Qt::Key_Z,
                        redo ? Qt::ControlModifier | Qt::ShiftModifier : Qt::ControlModifier);
        EXPECT_EQ(storedList(), MappingStore::describe(list)) << redo;
        EXPECT_EQ(column(0).size(), list.size()) << redo;
        ASSERT_EQ(hidutil.calls().size(), list.empty() ? 1u : 2u) << redo;
        EXPECT_EQ(hidutil.calls()[0], FakeHidutil::clearingCall());
        EXPECT_EQ(outlet<QAction>("redoAction")->isEnabled(), !redo);
    }

    std::string storedList() {
        std::vector<KeyMapping> saved = keyMappings;
        MappingStore::loadMappings();
        std::string description = MappingStore::describe(keyMappings);
        keyMappings = saved;
        return description;
    }

    FakeHidutil hidutil;
    AlertAnswerer alerts{{}, AlertAnswerer::WhenUnscripted::PressDefault};
    PermanentSettings permanent;  // File > Make Permanent…'s helper: none unless a test names one
    std::unique_ptr<MainVC> vc;
};

TEST_F(MainVCTest,
       FirstLaunchShowsTheHintAStoredListIsShownRemovalStoresThenInstallsAFullListTakesNoMore) {
    load();
    EXPECT_EQ(column(0), std::vector<std::string>{});
    EXPECT_TRUE(outlet<QLabel>("startLabel")->isVisible());
    EXPECT_FALSE(table()->horizontalHeader()->highlightSections());  // no bold header on selection
    EXPECT_EQ(hidutil.calls(), (Calls{{"list", "-m", "keyboard"}, FakeHidutil::clearingCall()}));
    EXPECT_FALSE(outlet<QCheckBox>("applyCheckbox")->isChecked());
    EXPECT_TRUE(mainWindowShown);

    vc->MainWin()->close();
    EXPECT_FALSE(mainWindowShown);

    // A stored list, shown in order; removal stores, then installs.
    MappingStore::saveApplyAtLogin(true);
    load(threeRecords);
    EXPECT_EQ(column(0), (std::vector<std::string>{"Caps Lock", "Command", "Tab"}));
    EXPECT_EQ(column(1), (std::vector<std::string>{"Escape", "Escape", ""}));
    QAbstractItemModel* model = table()->model();
    EXPECT_FALSE(model->index(0, 0).data(Qt::ToolTipRole).isValid());
    EXPECT_EQ(model->index(1, 0).data(Qt::ToolTipRole).toString(), "Super");
    EXPECT_FALSE(outlet<QLabel>("startLabel")->isVisible());
    EXPECT_TRUE(outlet<QCheckBox>("applyCheckbox")->isChecked());
    // The key columns fit every name of the key table, whatever the list holds.
    int widestName = 0;
    for (const KeyTable::SortedEntry& key : KeyTable::sortedEntries())
        widestName = std::max(
            widestName, table()->fontMetrics().horizontalAdvance(QString::fromStdString(key.name)));
    EXPECT_GT(std::min(table()->columnWidth(0), table()->columnWidth(1)), widestName);

    // Tab leaves the table; remove is offered only with a selected row. The focus alone makes no
    // row current, as if selected; Up and Down select one.
    activateMainWindow();
    table()->setFocus();
    QTest::keyClick(table(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), outlet<QToolButton>("addSegment"));
    EXPECT_FALSE(outlet<QToolButton>("removeSegment")->isEnabled());
    table()->setFocus();
    EXPECT_FALSE(table()->currentIndex().isValid());
    for (const auto& [key, row] : {std::pair{Qt::Key_Up, 0}, {Qt::Key_Down, 1}, {Qt::Key_Up, 0}}) {
        QTest::keyClick(table(), key);
        EXPECT_EQ(table()->selectionModel()->selectedRows().value(0).row(), row);
    }

    hidutil.clearCalls();
    EXPECT_TRUE(outlet<QToolButton>("removeSegment")->isEnabled());
    clickSegment("removeSegment");
    EXPECT_EQ(column(0), (std::vector<std::string>{"Command", "Tab"}));
    EXPECT_EQ(storedList(), MappingStore::describe({threeRecords[1], threeRecords[2]}));
    ASSERT_EQ(hidutil.calls().size(), 2u);
    EXPECT_EQ(hidutil.calls()[0], FakeHidutil::clearingCall());
    EXPECT_EQ(outlet<QAction>("undoAction")->text(), "&Undo Remove Mapping");
    // Undo puts it back and Redo takes it out again, each stored and installed.
    for (const auto& [redo, list] :
         {std::pair{false, threeRecords}, {true, {threeRecords[1], threeRecords[2]}}})
        takeStep(redo, list);

    // The Delete key removes as well, one row however long it is held (its key repeats).
    table()->selectRow(1);
    for (bool repeat : {false, true, true})
        QTest::simulateEvent(table(), true, Qt::Key_Delete, Qt::NoModifier, {}, repeat);
    QTest::simulateEvent(table(), false, Qt::Key_Delete, Qt::NoModifier, {}, false);
    EXPECT_EQ(column(0), std::vector<std::string>{"Command"});
    // Undo selects the row it brings back.
    takeStep(false, {threeRecords[1], threeRecords[2]});
    EXPECT_EQ(table()->selectionModel()->selectedRows().value(0).row(), 1);
    takeStep(true, {threeRecords[1]});
    table()->selectRow(0);
    clickSegment("removeSegment");
    EXPECT_TRUE(keyMappings.empty());
    EXPECT_FALSE(outlet<QLabel>("startLabel")->isVisible());

    // Add Mapping from Lists… with the keyboard alone: typing opens a list and finds a key by any
    // part of its shown name, Tab goes on, Escape cancels and Enter applies, as the capture
    // window's Apply does, with the key table's names.
    const KeyMapping sectionDisabled = {{"original", "§ Section"},
                                        {"originalId", "64"},
                                        {"remapped", "Disable key"},
                                        {"remappedId", "00"}};
    const auto pickByTyping = [](const char* name) {
        auto* popup = qobject_cast<QComboBox*>(QApplication::focusWidget());
        ASSERT_NE(popup, nullptr) << name;
        QTest::keyClicks(popup, name);
        ASSERT_TRUE(popup->view()->isVisible()) << name;
        QTest::keyClick(popup->view(), Qt::Key_Return);
        EXPECT_FALSE(qobject_cast<QListView*>(popup->view())->isRowHidden(popup->currentIndex()));
    };
    // A key mapped to itself would change nothing: Apply is not offered.
    for (const auto& [newKey, close] :
         {std::pair{"sec", Qt::Key_Escape}, {"Disable", Qt::Key_Return}}) {
        QTest::keyClick(vc->MainWin(), Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
        auto* dialog = vc->MainWin()->findChild<QDialog*>("AddFromListsW");
        ASSERT_NE(dialog, nullptr);
        ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == dialog; }));
        pickByTyping("sec");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        pickByTyping(newKey);
        EXPECT_EQ(dialog->findChild<QPushButton*>("applyBtn")->isEnabled(),
                  close == Qt::Key_Return);
        QTest::keyClick(QApplication::focusWidget(), close);
        EXPECT_FALSE(dialog->isVisible());
        activateMainWindow();
    }
    EXPECT_EQ(storedList(), MappingStore::describe({sectionDisabled}));
    EXPECT_EQ(table()->selectionModel()->selectedRows().value(0).row(), 0);
    takeStep(false, {});
    takeStep(true, {sectionDisabled});
    // An import from outside is a step too, the keyboard it chose with it.
    MappingFile::adopt(MappingFile::parse(MappingFile::compose(threeRecords, "0x27e")),
                       MappingFile::Adoption::Replace);
    vc->showStoredChoices();
    takeStep(false, {sectionDisabled});
    EXPECT_EQ(MappingFile::storedKeyboardId(), allKeyboardsId);

    // As many as one installation carries: the capture window, which would clear the keys, does
    // not open; an import to add after them is refused once it is chosen, one that could not even
    // replace them before the question.
    keyMappings.assign(1379, threeRecords[0]);
    MappingStore::saveMappings();
    vc->reloadTable();
    const std::string full = storedList();
    const std::string file = std::string(std::getenv("HOME")) + "/import.json";
    QTimer picker;  // answers the file dialog
    QObject::connect(&picker, &QTimer::timeout, [&] {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* dialog = qobject_cast<QFileDialog*>(widget); dialog && dialog->isVisible()) {
                // Typed, as selectFile leaves alone a name field that has the focus.
                dialog->findChild<QLineEdit*>("fileNameEdit")
                    ->setText(QString::fromStdString(file));
                static_cast<QDialog*>(dialog)->accept();  // protected in QFileDialog
            }
        }
    });
    picker.start(10);
    hidutil.clearCalls();
    for (const char* add : {"addMappingAction", "addFromListsAction"}) {
        outlet<QAction>(add)->trigger();
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr) << add;
        EXPECT_EQ(alerts.drain(), (std::vector<AlertAnswerer::Seen>{
                                      {"No room for another mapping",
                                       "One installation can carry at most 1,379 mappings, and "
                                       "your list has 1,379. Remove 1 mapping before you add "
                                       "another.",
                                       {"OK"},
                                       "OK"}}));
    }
    const auto refusal = [&](const char* count) {
        return AlertAnswerer::Seen{"This file cannot be imported",
                                   QString::fromStdString(file) + ": your list would then have " +
                                       count +
                                       " mappings, but one installation can carry at most "
                                       "1,379.\n\nYour list is unchanged.",
                                   {"OK"},
                                   "OK"};
    };
    // One new mapping and one the list has: the question leaves the second out of the count.
    for (const auto& [count, asked] : {std::pair{1, true}, std::pair{1400, false}}) {
        std::vector<KeyMapping> mappings(std::size_t(count), threeRecords[1]);
        if (asked)
            mappings.push_back(threeRecords[0]);
        std::ofstream(file) << MappingFile::compose(mappings, allKeyboardsId);
        outlet<QAction>("importAction")->trigger();  // the question's default: add to the list
        std::vector<AlertAnswerer::Seen> seen = alerts.drain();
        ASSERT_EQ(seen.size(), asked ? 2u : 1u) << count;
        EXPECT_EQ(seen.back(), refusal(asked ? "1,380" : "1,400"));
        // The question's title on the title line, the question below it.
        if (asked) {
            EXPECT_EQ(seen.front(),
                      (AlertAnswerer::Seen{"Import 2 mappings?",
                                           "Already in your list, so not added again: 1 mapping."
                                           "\n\nAdd the 1 mapping after the 1,379 mappings you "
                                           "have, or replace your list and the chosen keyboard "
                                           "with them?",
                                           {"Add to My List", "Replace My List", "Cancel"},
                                           "Add to My List"}));
        }
    }
    EXPECT_TRUE(hidutil.calls().empty());
    EXPECT_EQ(storedList(), full);
}

// After every installation the keymaps are read back, from the status file the installation left
// or else from `hidutil status --json`: an overridden mapping is installed once more, never twice,
// whatever the second reading says; the capture window, modal over the main window, leaves none
// installed.
TEST_F(MainVCTest, StatusColumnSaysWhatBecameOfEachMappingAfterEveryInstallation) {
    MappingStatus::followInstallations([] { currentMainVC->statusChanged(); });
    using State = hidutil::EntryState;
    constexpr State installed = State::Installed, overridden = State::Overridden,
                    permanent = State::Permanent, skipped = State::Skipped;
    // What hidutil's formatter says of Caps Lock and Command on each keyboard; neither has Tab.
    const auto reading = [](State deskCaps, State deskCommand, State travelCaps,
                            State travelCommand) {
        const auto keyboard = [](unsigned productId, const char* transport,
                                 std::uint64_t registryId, const char* product, State caps,
                                 State command) {
            hidutil::KeyboardStatus status;
            status.row.productId = productId;
            status.row.transport = transport;
            status.row.registryId = registryId;
            status.row.product = product;
            status.entries = {{{0x700000039, 0x700000029}, caps},
                              {{0x7000000e3, 0x700000029}, command},
                              {{0x70000002b, 0x700000029}, skipped}};
            return status;
        };
        return hidutil::formatStatusJson(
            {keyboard(0x27e, "USB", 0x100000005, "Desk Keyboard", deskCaps, deskCommand),
             keyboard(0x300, "Bluetooth", 0x100000006, "Travel Keyboard", travelCaps,
                      travelCommand)});
    };
    const struct {
        std::string first, second;  // what the kernel says before installing again, and after
        std::vector<std::string> texts;
        const char* commandTip = nullptr;  // the second mapping's tool tip, where it is checked
        // The first reading is the status file the first installation leaves; the second
        // installation leaves none, so that the file is older than it and `status` runs.
        bool left = false;
    } rows[] = {
        {reading(installed, overridden, skipped, installed),
         reading(installed, installed, skipped, installed),
         {"Installed on 1 of 2 keyboards", "Overridden on Desk Keyboard, installed again",
          "No keyboard has this key", "Not installed"}},
        {reading(installed, installed, installed, overridden),
         reading(installed, installed, installed, overridden),
         {"Installed on 2 keyboards", "Overridden on Travel Keyboard, even after installing again",
          "Not installed"},
         "Desk Keyboard: installed\nTravel Keyboard: changed by another program, also after "
         "installing again",
         true},
        // udev's hwdb gives the keys: a permanent keymap, which counts as installed beside one.
        {reading(permanent, installed, overridden, permanent),
         reading(permanent, installed, permanent, permanent),
         {"Permanent", "Installed on 2 keyboards"},
         "Desk Keyboard: installed\nTravel Keyboard: permanent (udev's hwdb)"},
    };
    // The last mapping is on no keyboard.
    keyMappings = {threeRecords[0], threeRecords[1], threeRecords[1], threeRecords[1]};
    keyMappings[2]["originalId"] = "2b";
    keyMappings[3]["originalId"] = "2c";
    MappingStore::saveMappings();
    const std::vector<std::string> statusCall = {"status", "--json"};
    for (const auto& row : rows) {
        hidutil.clearCalls();
        if (row.left)
            hidutil.leaveStatus("property", row.first, 2);
        else
            hidutil.setOutput("status", row.first, 1);
        hidutil.setOutput("status", row.second, row.left ? 1 : 2);
        if (!vc) {
            load();
        } else {
            table()->selectRow(2);
            clickSegment("removeSegment");
        }
        EXPECT_EQ(column(2), row.texts);
        // Cleared, installed and read back twice (after the keyboard list, when the window loads).
        Calls calls = hidutil.calls();
        if (&row == rows) {
            ASSERT_EQ(calls.front(), (std::vector<std::string>{"list", "-m", "keyboard"}));
            calls.erase(calls.begin());
        }
        ASSERT_GE(calls.size(), 2u);
        Calls expected = {FakeHidutil::clearingCall(), calls[1]};
        if (!row.left)
            expected.push_back(statusCall);
        expected.insert(expected.end(), {FakeHidutil::clearingCall(), calls[1], statusCall});
        EXPECT_EQ(calls, expected);
        if (row.commandTip) {
            EXPECT_EQ(table()->model()->index(1, 2).data(Qt::ToolTipRole), row.commandTip);
        }
    }

    clickSegment("addSegment");
    ASSERT_NE(currentKeyboardVC, nullptr);
    QWidget* capture = currentKeyboardVC->window();
    EXPECT_TRUE(capture->isVisible() && capture->isModal());
    EXPECT_EQ(capture->parentWidget(), vc->MainWin());
    EXPECT_EQ(column(2), (std::vector<std::string>{"Not installed", "Not installed"}));
    currentKeyboardVC->cancelClick();
    // The footer says so then, and Install Now installs as every change does.
    auto* footer = outlet<QLabel>("backgroundHint");
    EXPECT_EQ(footer->text(), InstallationSummary::noneInstalledText);
    hidutil.clearCalls();
    hidutil.setOutput("status", rows[0].second, 1);
    QTest::mouseClick(outlet<QPushButton>("installNowBtn"), Qt::LeftButton);
    const Calls ran = hidutil.calls();
    EXPECT_EQ(ran, (Calls{FakeHidutil::clearingCall(), ran.at(1), statusCall}));
    EXPECT_EQ(footer->text(), InstallationSummary::keptText);
    EXPECT_FALSE(outlet<QPushButton>("installNowBtn")->isVisible());
    // A later row of the same key takes it from the earlier one, unless it wants the same.
    keyMappings[1] = keyMappings[0];
    EXPECT_EQ(column(2), std::vector<std::string>(2, "Installed on 1 of 2 keyboards"));
    keyMappings[1]["remappedId"] = "2a";  // a mapping the reading does not know
    EXPECT_EQ(column(2), (std::vector<std::string>{"Replaced by row 2", "Not installed"}));
}

// Where the read-back finds why no installation can work, a line above the table says it, and the
// footer claims nothing; a failed installation's alert adds it, once for as long as it lasts.
TEST_F(MainVCTest, WhyNothingCanBeInstalledIsSaidAboveTheTableAndOnceInTheAlert) {
    MappingStatus::followInstallations([] { currentMainVC->statusChanged(); });
    std::vector<std::string> alerted;
    MappingApplier::setEffects(
        {{}, {}, [&](const std::string& text, const std::string&) { alerted.push_back(text); }});
    hidutil::KeyboardStatus desk;
    desk.row.productId = 0x27e;
    const std::string noAccess =
        fillIn(MappingStatus::noAccessText, {"/dev/input/event3", "Permission denied"});
    const std::string unopened =
        hidutil::formatStatusJson({desk}, {{"/dev/input/event3", true, "Permission denied"}});
    const struct {
        std::string status;  // what hidutil status --json says after the installation
        bool fails;
        const char* keyboard;  // chosen in Apply to
        std::string line;      // none when empty
        bool alerted = false;
    } rows[] = {
        {unopened, true, allKeyboardsId, noAccess, true},
        {unopened, true, allKeyboardsId, noAccess, false},  // the timer's, half an hour later
        {hidutil::formatStatusJson({}), false, allKeyboardsId, MappingStatus::noKeyboardText},
        {hidutil::formatStatusJson({desk}), true, "0x300",
         fillIn(MappingStatus::keyboardAbsentText, {"0x300"}), true},
        {hidutil::formatStatusJson({desk}), false, "0x27e", ""},
    };
    load({threeRecords[0]});
    for (const auto& row : rows) {
        hidutil.setOutput("property", row.fails ? "" : "UserKeyMapping:(\n)\n");
        hidutil.setOutput("status", row.status);
        MappingStore::saveKeyboardId(row.keyboard);
        alerted.clear();
        MappingApplier::applyMappings();
        EXPECT_EQ(alerted, row.alerted ? std::vector{std::string(MappingApplier::failedAlertText) +
                                                     "\n\n" + row.line}
                                       : std::vector<std::string>{});
        EXPECT_EQ(outlet<QLabel>("obstacleLbl")->text().toStdString(), row.line);
        EXPECT_EQ(outlet<QLabel>("obstacleLbl")->isVisible(), !row.line.empty());
        EXPECT_EQ(outlet<QLabel>("backgroundHint")->text(),
                  row.line.empty() ? InstallationSummary::keptText : "");
    }
    MappingApplier::setEffects({});
}

TEST_F(MainVCTest, OnlyAChoiceFromTheOpenedListChangesTheKeyboard) {
    hidutil.setOutput("list", "0x5ac 0x27e 0x1 1 6 0x2 USB\n");
    load(threeRecords);
    auto* popup = outlet<QComboBox>("keyboardPopup");
    activateMainWindow();
    hidutil.clearCalls();
    popup->setFocus();
    // A wheel notch, an arrow key or a typed letter over the closed pop-up chooses nothing.
    QWheelEvent notch({5, 5}, {5, 5}, {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(popup, &notch);
    QTest::keyClick(popup, Qt::Key_U);
    QTest::keyClick(popup, Qt::Key_Down);  // opens the list instead
    EXPECT_TRUE(popup->view()->isVisible());
    EXPECT_EQ(popup->currentText(), "All keyboards");
    EXPECT_FALSE(MappingStore::loadKeyboardId().has_value());
    EXPECT_TRUE(hidutil.calls().empty());

    for (const auto& [row, stored] : {std::pair{1, "0x27e"}, std::pair{0, "0x9999"}}) {
        popup->showPopup();
        popup->view()->setCurrentIndex(popup->model()->index(row, 0));
        QTest::keyClick(popup->view(), Qt::Key_Return);
        EXPECT_EQ(MappingStore::loadKeyboardId(), stored);
    }
    ASSERT_EQ(hidutil.calls().size(), 4u);
    EXPECT_EQ(hidutil.calls()[1].back(), R"({"ProductID": 0x27e})");

    // Undo and Redo choose again: shown, stored, then installed for that keyboard.
    for (const auto& [redo, title] : {std::pair{false, "USB"},
                                      {true, "All keyboards"},
                                      {false, "USB"},
                                      {false, "All keyboards"}}) {
        takeStep(redo, threeRecords);
        EXPECT_EQ(popup->currentText(), title);
        EXPECT_EQ(MappingFile::storedKeyboardId(), popup->currentData().toString().toStdString());
        EXPECT_EQ(hidutil.calls().back().size(), title == std::string("USB") ? 5u : 3u);
    }
    EXPECT_EQ(outlet<QAction>("undoAction")->text(), "&Undo");
    EXPECT_EQ(outlet<QAction>("redoAction")->text(), "Re&do Keyboard Choice");
}

// File > Make Permanent…, confirmed: the helper changes the keys between a clearing of the session
// list and its installation again, and "Keep these keys?", left alone, counts down and answers
// nothing, so that the keys change back. Neither item starts another helper meanwhile.
TEST_F(MainVCTest, MakePermanentsCountdownLeftAloneChangesTheKeysBack) {
    const std::string helper = std::string(std::getenv("HOME")) + "/keyvane-permanent";
    std::ofstream(helper) << "stands in for the installed helper";
    permanent = {{helper, true}, std::chrono::milliseconds(100)};  // 2 s in all
    load({threeRecords[0]});
    auto* make = outlet<QAction>("makePermanentAction");
    auto* remove = outlet<QAction>("removePermanentAction");
    EXPECT_EQ(make->text(), "Make &Permanent…");
    EXPECT_EQ(remove->text(), "Remove Permanent &Keymap");
    hidutil.clearCalls();

    make->trigger();  // the question's default: Make Permanent
    const PermanentKeymapDialogs& dialogs = vc->permanentKeymap();
    ASSERT_TRUE(QTest::qWaitFor([&] { return dialogs.keepKeysDialog() != nullptr; }));
    KeepKeysDialog* countdown = dialogs.keepKeysDialog();
    EXPECT_TRUE(countdown->isVisible() && countdown->isModal());
    EXPECT_EQ(countdown->windowTitle(), PermanentKeymap::keepTitle);
    QStringList buttons;
    for (QAbstractButton* button : countdown->findChild<QDialogButtonBox*>()->buttons())
        buttons << button->text();
    EXPECT_EQ(buttons,
              (QStringList{PermanentKeymap::keepButton, PermanentKeymap::changeBackButton}));
    EXPECT_FALSE(make->isEnabled());
    EXPECT_FALSE(remove->isEnabled());

    ASSERT_TRUE(QTest::qWaitFor([&] { return make->isEnabled(); }));
    EXPECT_TRUE(remove->isEnabled());
    EXPECT_EQ(dialogs.keepKeysDialog(), nullptr);
    const PermanentKeymap::Message question = PermanentKeymap::makeQuestion();
    EXPECT_EQ(alerts.drain(), (std::vector<AlertAnswerer::Seen>{
                                  {question.title.c_str(),
                                   question.text.c_str(),
                                   {PermanentKeymap::makeButton, PermanentKeymap::cancelButton},
                                   PermanentKeymap::makeButton},
                                  {PermanentKeymap::revertedTitle,
                                   PermanentKeymap::revertedToNoneText,
                                   {PermanentKeymapDialogs::okButton},
                                   PermanentKeymapDialogs::okButton}}));
    const std::string property = hidutil.calls().back().at(2);
    EXPECT_EQ(hidutil.calls(), (Calls{FakeHidutil::clearingCall(),
                                      {"pkexec", helper, "make", property},
                                      FakeHidutil::clearingCall(),
                                      FakeHidutil::installCall(property)}));
}

TEST_F(MainVCTest, CheckboxStoresTheChoiceBeforeTheLoginItemFollowsIt) {
    load();
    auto* checkbox = outlet<QCheckBox>("applyCheckbox");
    const auto entry = LoginItems::entryPath("app.keyvane.KeyvaneLauncher");

    clickBox(checkbox);
    EXPECT_TRUE(MappingStore::loadApplyAtLogin());
    EXPECT_TRUE(std::filesystem::exists(entry));
    clickBox(checkbox);
    EXPECT_FALSE(MappingStore::loadApplyAtLogin());
    EXPECT_FALSE(std::filesystem::exists(entry));
    EXPECT_TRUE(alerts.drain().empty());

    // An autostart "folder" that is a file cannot take the entry: the choice is kept, the user
    // told.
    std::filesystem::remove_all(entry.parent_path());
    std::ofstream(entry.parent_path()) << "not a folder";
    clickBox(checkbox);
    EXPECT_TRUE(MappingStore::loadApplyAtLogin());
    EXPECT_EQ(alerts.drain(),
              (std::vector<AlertAnswerer::Seen>{
                  {"Keyvane", "Error setting apply at login value", {"OK"}, "OK"}}));
}

// The quit button removes the mappings from the system; the menu's Quit (Ctrl+Q) leaves them
// installed. Both keep the stored list.
TEST_F(MainVCTest, BothQuitsEndTheApplicationOnlyTheButtonClearsTheSystem) {
    load(threeRecords);
    const std::string storedBefore = storedList();

    const std::pair<std::function<void()>, Calls> quits[] = {
        {[this] { QTest::mouseClick(outlet<QWidget>("quitBtn"), Qt::LeftButton); },
         Calls{FakeHidutil::clearingCall()}},
        {[this] { QTest::keyClick(vc->MainWin(), Qt::Key_Q, Qt::ControlModifier); }, Calls{}},
    };
    for (const auto& [quit, calls] : quits) {
        activateMainWindow();
        hidutil.clearCalls();
        QTimer::singleShot(0, quit);
        QTimer::singleShot(20000, [] { QCoreApplication::exit(1); });  // a quit that never happens
        EXPECT_EQ(QCoreApplication::exec(), 0);
        EXPECT_EQ(hidutil.calls(), calls);
        EXPECT_EQ(storedList(), storedBefore);
    }
}

}  // namespace
}  // namespace keyvane
