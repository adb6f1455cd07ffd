#pragma once

class QComboBox;

namespace keyvane {

// Fills the list that both windows adding a mapping pick keys from: every key of the key table in
// picker order, under its shown name ("Command (Super)"), its groups parted by lines (which cannot
// be picked), and nothing picked at first; typing finds a key by any part of that name. "Disable
// key" starts hidden, since only a new key can be one; the result is its row.
int fillKeyPicker(QComboBox* picker);

// Offers the picker's row of "Disable key" (shown, and pickable) or withdraws it.
void offerDisableKey(QComboBox* picker, int row, bool offered);

}  // namespace keyvane
