#include <gtest/gtest.h>

#include <QComboBox>
#include <utility>

#include "engine/MappingStore.h"
#include "tests/support/FakeHidutil.h"
#include "tests/support/ReadFile.h"
#include "ui/main/KeyboardList.h"

namespace keyvane {
namespace {

using Items = std::vector<std::pair<std::string, std::string>>;  // title, identifier

struct Filled {
    Items items;
    std::string selectedTitle;
};

Filled fillFrom(const std::string& listing) {
    testing::FakeHidutil hidutil;
    hidutil.setOutput("list", listing);
    QComboBox popup;
    fillKeyboardPopup(&popup, ShellRunner::start(listKeyboardsCommand));
    EXPECT_EQ(hidutil.calls(), (std::vector<std::vector<std::string>>{{"list", "-m", "keyboard"}}));
    Filled filled;
    for (int i = 0; i < popup.count(); ++i)
        filled.items.emplace_back(popup.itemText(i).toStdString(),
                                  popup.itemData(i).toString().toStdString());
    filled.selectedTitle = popup.currentText().toStdString();
    return filled;
}

const char* heading =
    "Services:\n"
    "VendorID ProductID LocationID UsagePage Usage RegistryID  Transport Class Product\n";

TEST(KeyboardList, ItemsComeFromTheSeventhFieldFirstTitleWinsLinesWithAZeroFieldAreSkipped) {
    const std::pair<std::string, Items> listings[] = {
        {heading, {}},
        {"", {}},
        // A second keyboard with a title already listed, and a line that is too short.
        // What hidutil listed on the kernel test's machine: the AT keyboard and two HID keyboards.
        {testing::readFile(KEYBOARD_LIST_ON_QEMU) +
             "0x46d 0xc31c 0x14100000 1 6 0x10000ab12 USB Keyboard Logitech\n" + "0x1 0x2 0x3\n",
         {{"Internal", "0x1"}, {"USB", "0x1111"}, {"Bluetooth", "0x2222"}}},
        {"0x5ac 0x0 0x1 1 6 0x2 USB\n"             // " 0x0 " inside: skipped
         "0x0 0x111 0x1 1 6 0x2 Bluetooth\n"       // at the very start: kept
         "0x5ac 0x0abc 0x1 1 6 0x2 Internal\n"     // a longer field: kept
         "0x5ac 0x222 0x1 1 6 0x2 Virtual 0x0\n",  // at the very end: kept
         {{"Bluetooth", "0x111"}, {"Internal", "0x0abc"}, {"Virtual", "0x222"}}},
    };
    for (const auto& [listing, keyboards] : listings) {
        Items expected = {{"All keyboards", "0x9999"}};
        expected.insert(expected.end(), keyboards.begin(), keyboards.end());
        const Filled filled = fillFrom(listing);
        EXPECT_EQ(filled.items, expected) << listing;
        EXPECT_EQ(filled.selectedTitle, "All keyboards");
    }
}

TEST(KeyboardList, SpacesCollapseInPassesOfFourThreeTwo) {
    EXPECT_EQ(keyboardFields("0x1" + std::string(20, ' ') + "x"),
              (std::vector<std::string>{"0x1", "", "x"}));  // 20 -> 5 -> 3 -> 2 spaces
    EXPECT_EQ(keyboardFields("0x1" + std::string(10, ' ') + "x"),
              (std::vector<std::string>{"0x1", "x"}));  // 10 -> 4 -> 2 -> 1
    EXPECT_EQ(keyboardFields("0x1 SPISPI x"),
              (std::vector<std::string>{"0x1", "InternalInternal", "x"}));
    EXPECT_EQ(keyboardFields("Services:"), std::nullopt);
    EXPECT_EQ(keyboardFields(" 0x1 2"), std::nullopt);
    // An eleven-space run leaves an empty field, which moves the transport out of field 7.
    EXPECT_EQ(fillFrom("0x1 0x2 0x3 1 6" + std::string(11, ' ') + "0x4 USB Product\n").items,
              (Items{{"All keyboards", "0x9999"}, {"0x4", "0x2"}}));
}

TEST(KeyboardList, StoredKeyboardIsSelectedLastMatchWins) {
    const std::string listing =
        "0x5ac 0x27e 0x1 1 6 0x2 USB\n"
        "0x5ac 0x27e 0x1 1 6 0x3 USB\n"  // same title: not listed, not selected
        "0x4c 0x27e 0x1 1 6 0x4 Bluetooth\n"
        "0x4c 0x999 0x1 1 6 0x5 Virtual\n";
    // A keyboard not connected: nothing selected, nothing rewritten.
    for (const auto& [stored, selected] :
         {std::pair{"0x27e", "Bluetooth"}, std::pair{"0x9999", "All keyboards"},
          std::pair{"0x5555", "All keyboards"}}) {
        MappingStore::saveKeyboardId(stored);
        EXPECT_EQ(fillFrom(listing).selectedTitle, selected);
        EXPECT_EQ(MappingStore::loadKeyboardId(), stored);
    }
}

// An item stands for every connected keyboard of its product id, "All keyboards" for all of them.
TEST(KeyboardList, EachItemNamesTheKeyboardsBehindIt) {
    testing::FakeHidutil hidutil;
    hidutil.setOutput("list", "0x5ac 0x27e 0x1 1 6 0x2 USB\n0x4c 0x999 0x1 1 6 0x5 Virtual\n");
    QComboBox popup;
    fillKeyboardPopup(&popup, ShellRunner::start(listKeyboardsCommand));
    nameKeyboardsBehindItems(&popup, {{1, 0x27e, "Desk Keyboard", {}}, {2, 0x27e, "Travel", {}}});
    QStringList tips;
    for (int i = 0; i < popup.count(); ++i)
        tips << popup.itemData(i, Qt::ToolTipRole).toString();
    EXPECT_EQ(tips, (QStringList{"Desk Keyboard\nTravel", "Desk Keyboard\nTravel",
                                 noKeyboardBehindText}));
}

}  // namespace
}  // namespace keyvane
