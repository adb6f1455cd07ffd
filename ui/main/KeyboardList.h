#pragma once

#include <QtGlobal>
#include <optional>
#include <string>
#include <vector>

#include "engine/MappingStatus.h"
#include "engine/ShellRunner.h"
#include "keys/HidutilContract.h"

class QComboBox;

namespace keyvane {

inline constexpr const char* listKeyboardsCommand = contract::listKeyboardsCommand;
inline constexpr const char* allKeyboardsTitle = QT_TRANSLATE_NOOP("KeyboardList", "All keyboards");
// %1: the product id of a keyboard that the pop-up has no item for.
inline constexpr const char* unlistedKeyboardTitle =
    QT_TRANSLATE_NOOP("KeyboardList", "Keyboard %1");
// The tool tip of an item that stands for no connected keyboard.
inline constexpr const char* noKeyboardBehindText =
    QT_TRANSLATE_NOOP("KeyboardList", "No such keyboard is connected");

// The fields of one line of the keyboard listing, or nothing for a line that names no keyboard
// (headings, blank lines, lines with a " 0x0 " column). Runs of spaces are collapsed in passes of
// four, three and two, so an unusually long run leaves an empty field behind.
std::optional<std::vector<std::string>> keyboardFields(const std::string& line);

// Fills the empty pop-up with "All keyboards" and one item per keyboard of `listing` (title: the
// transport column, item data: the product id), and selects the stored keyboard. The listing is
// started by the caller, so that it can run while the caller does other work.
void fillKeyboardPopup(QComboBox* keyboardPopup, ShellRunner::Pending listing);
// Selects the item of `keyboardId` (the last of several) after the choice was made elsewhere. A
// keyboard without one (not connected when the pop-up was filled, or listed under an earlier
// keyboard's title) gets one named by its id: the pop-up shows the choice in force, whatever it is.
void selectKeyboard(QComboBox* keyboardPopup, const std::string& keyboardId);
// Names in each item's tool tip the keyboards it installs on, as the last read-back found them:
// an item's title is only the first keyboard's transport, and several keyboards share a product id.
void nameKeyboardsBehindItems(QComboBox* keyboardPopup,
                              const std::vector<StatusKeyboard>& keyboards);

}  // namespace keyvane
