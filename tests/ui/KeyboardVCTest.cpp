#include <gtest/gtest.h>

#include <QAccessible>
#include <QComboBox>
#include <QDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QMainWindow>
#include <QPushButton>
#include <QTableView>
#include <QtTest/QTest>

#include "common/Text.h"
#include "engine/KeyTable.h"
#include "engine/MappingStore.h"
#include "tests/support/FakeHidutil.h"
#include "ui/capture/KeyboardVC.h"
#include "ui/capture/KeyboardWView.h"
#include "ui/main/MainVC.h"

namespace keyvane {
namespace {

using testing::FakeHidutil;
using Calls = std::vector<std::vector<std::string>>;

// Linux key codes, as X11 delivers them (plus 8) in the native scan code.
constexpr int keyEscape = 1, keyTab = 15, keyCapsLock = 58, keyLeftShift = 42, keyLeftCtrl = 29,
              keyF13 = 183, key1 = 2, keyA = 30, keyZ = 44, keyRightAlt = 100;

class KeyboardVCTest : public ::testing::Test {
  protected:
    void SetUp() override {
        mainVC.viewDidLoad();
        hidutil.clearCalls();
        open();
    }
    void open() {
        vc = std::make_unique<KeyboardVC>();
        vc->viewDidLoad();
        vc->window()->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(vc->window()));
    }
    void TearDown() override { keyMappings.clear(); }

    template <typename T>
    T* outlet(const char* name) {
        T* widget = vc->window()->findChild<T*>(name);
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }

    void send(QEvent::Type type, int linuxKeyCode, const char* text = "",
              Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QKeyEvent event(type, Qt::Key_unknown, modifiers, quint32(linuxKeyCode + 8), 0, 0, text);
        QApplication::sendEvent(QApplication::focusWidget(), &event);
    }
    void press(int linuxKeyCode) { send(QEvent::KeyPress, linuxKeyCode); }
    void release(int linuxKeyCode) { send(QEvent::KeyRelease, linuxKeyCode); }

    // A choice from the opened list, the only way to pick: by its row, or by typing.
    void pick(const char* name, const char* typed = nullptr) {
        auto* popup = outlet<QComboBox>("keyPopup");
        const int row = popup->findText(name);
        ASSERT_GE(row, 0) << name;
        popup->showPopup();
        if (typed)
            QTest::keyClicks(popup->view(), typed);
        else
            popup->view()->setCurrentIndex(popup->model()->index(row, 0));
        QTest::keyClick(popup->view(), Qt::Key_Return);
    }
    // A mouse passing over the closed list.
    void wheel() {
        for (int notch : {-120, 120, 120}) {
            QWheelEvent event({10, 10}, {10, 10}, {}, {0, notch}, Qt::NoButton, Qt::NoModifier,
                              Qt::NoScrollPhase, false);
            QApplication::sendEvent(outlet<QComboBox>("keyPopup"), &event);
        }
    }
    std::string accessibleName(const char* name) {
        return QAccessible::queryAccessibleInterface(outlet<QWidget>(name))
            ->text(QAccessible::Name)
            .toStdString();
    }

    bool pickable(const char* name) {
        auto* popup = outlet<QComboBox>("keyPopup");
        return !qobject_cast<QListView*>(popup->view())->isRowHidden(popup->findText(name));
    }

    std::string text(const char* label) { return outlet<QLabel>(label)->text().toStdString(); }
    bool applyEnabled() { return outlet<QPushButton>("applyBtn")->isEnabled(); }

    FakeHidutil hidutil;
    MainVC mainVC{[] {}};
    std::unique_ptr<KeyboardVC> vc;
};

// The first key captured is the original, later ones replace the new key; a release counts only for
// a modifier pressed here. A key shows its PC name and what the user's layout types with it where
// those differ from the key table's name (here a German layout's Y).
TEST_F(KeyboardVCTest, KeysFollowTheStepsAndOnlyAModifiersReleaseIsAKey) {
    const struct {
        QEvent::Type type;
        int key;
        const char* original;
        const char* newKey;
        const char* text = "";
        Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    } steps[] = {
        {QEvent::KeyRelease, keyLeftCtrl, "Original key", "New key"},  // held since Ctrl+N
        {QEvent::KeyPress, keyF13, "Original key", "New key"},         // no entry in the key table
        {QEvent::KeyPress, keyLeftShift, "Shift", "New key"},
        {QEvent::KeyRelease, keyLeftShift, "Shift", "New key"},
        {QEvent::KeyPress, keyEscape, "Shift", "Escape"},
        {QEvent::KeyPress, keyZ, "Shift", "z — Y on your keyboard", "y"},
        {QEvent::KeyPress, keyA, "Shift", "a", "a"},
        {QEvent::KeyPress, key1, "Shift", "1", "!", Qt::ShiftModifier},  // not what its cap says
        {QEvent::KeyPress, keyRightAlt, "Shift", "Right Option (AltGr)"},
        {QEvent::KeyPress, keyTab, "Shift", "Tab", "\t"},  // Tab does not move the focus
        {QEvent::KeyRelease, keyEscape, "Shift", "Tab"},
        {QEvent::KeyPress, keyLeftShift, "Shift", "Tab"},
    };
    keyMappings = {{{"original", "Shift"}, {"originalId", "e1"}}, {{"originalId", "39"}}};
    for (const auto& step : steps) {
        send(step.type, step.key, step.text, step.modifiers);
        EXPECT_EQ(text("srcKeyLbl"), step.original) << step.key;
        EXPECT_EQ(text("destKeyLbl"), step.newKey) << step.key;
        EXPECT_EQ(applyEnabled(), std::string(step.newKey) != "New key") << step.key;
    }
    EXPECT_EQ(QApplication::focusWidget(), outlet<KeyboardWView>("keyboardWView"));
    // Shift is mapped already: the window says which row the new mapping replaces.
    EXPECT_EQ(text("instructionLbl"), fillIn(KeyboardVC::alreadyMappedText, {"1", "Shift"}));
    EXPECT_TRUE(outlet<QLabel>("instructionLbl")->isVisible());

    // A screen reader reads the keys themselves, also from the capture area that has the focus.
    EXPECT_EQ(accessibleName("srcKeyLbl"), "Shift");
    EXPECT_EQ(accessibleName("destKeyLbl"), "Tab");
    EXPECT_EQ(accessibleName("keyboardWView"), "Original key: Shift, new key: Tab");
}

TEST_F(KeyboardVCTest, PickerOffersKeysWithoutCodesAndDisableKeyOnlyForTheNewKey) {
    EXPECT_FALSE(pickable("Disable key"));
    // Groups are parted by lines, not by a row of dashes that reads like a key.
    EXPECT_EQ(outlet<QComboBox>("keyPopup")->findText(KeyTable::separatorName.data()), -1);
    wheel();
    auto* popup = outlet<QComboBox>("keyPopup");
    popup->showPopup();
    QTest::keyClicks(popup->view(), "di");  // neither typing nor Home reaches the hidden row
    EXPECT_EQ(popup->view()->currentIndex().data().toString(), "Keypad Divide");
    QTest::keyClick(popup->view(), Qt::Key_Home);
    EXPECT_NE(popup->view()->currentIndex().row(), popup->findText("Disable key"));
    popup->hidePopup();
    EXPECT_EQ(text("srcKeyLbl"), "Original key");
    pick("Mail Compose (Menu)", "menu");  // any part of the name finds a key
    EXPECT_EQ(text("srcKeyLbl"), "Mail Compose (Menu)");
    EXPECT_TRUE(pickable("Disable key"));
    pick("Mail Compose (Menu)");
    wheel();
    EXPECT_EQ(text("destKeyLbl"), "New key");
    EXPECT_FALSE(applyEnabled());
    pick("Disable key");
    EXPECT_FALSE(outlet<QLabel>("instructionLbl")->isVisible());  // nothing left to say
    vc->applyClick();  // the record keeps the key table's names
    EXPECT_EQ(keyMappings, (std::vector<KeyMapping>{{{"original", "Mail Compose"},
                                                     {"originalId", "65"},
                                                     {"remapped", "Disable key"},
                                                     {"remappedId", "00"}}}));
}

// Apply stores the record, installs it and closes the window. The next capture window opens with
// the system cleared and its capture area focused; Cancel closes it and leaves the list as stored.
TEST_F(KeyboardVCTest, ApplyStoresAndInstallsCapsLockToEscapeCancelLeavesTheSystemCleared) {
    const std::vector<KeyMapping> stored = {{{"original", "Caps Lock"},
                                             {"originalId", "39"},
                                             {"remapped", "Escape"},
                                             {"remappedId", "29"}}};
    // Cleared as the window opens, then cleared and installed by Apply.
    const Calls installed = {
        FakeHidutil::clearingCall(), FakeHidutil::clearingCall(),
        FakeHidutil::installCall(
            R"({"UserKeyMapping" : [{"HIDKeyboardModifierMappingSrc" : 0x700000039, "HIDKeyboardModifierMappingDst" : 0x700000029}]})")};
    for (const auto& [button, calls] :
         {std::pair{"applyBtn", installed}, std::pair{"cancelBtn", Calls{installed[0]}}}) {
        EXPECT_EQ(currentKeyboardVC, vc.get());
        EXPECT_EQ(QApplication::focusWidget(), outlet<KeyboardWView>("keyboardWView"));
        press(keyCapsLock);
        release(keyCapsLock);
        press(keyEscape);
        QTest::mouseClick(outlet<QPushButton>(button), Qt::LeftButton);
        keyMappings.clear();
        MappingStore::loadMappings();
        EXPECT_EQ(keyMappings, stored) << button;
        EXPECT_EQ(hidutil.calls(), calls) << button;
        EXPECT_EQ(mainVC.rowCount(), 1);
        // The mapping just added is the one selected, ready for Delete.
        const auto* table = mainVC.MainWin()->findChild<QTableView*>("tableView");
        EXPECT_EQ(table->selectionModel()->selectedRows().size(), 1) << button;
        EXPECT_EQ(currentKeyboardVC, nullptr);
        EXPECT_FALSE(vc->window()->isVisible());
        hidutil.clearCalls();
        open();
    }
}

}  // namespace
}  // namespace keyvane
