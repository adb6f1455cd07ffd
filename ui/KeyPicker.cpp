#include "ui/KeyPicker.h"

#include <QComboBox>
#include <QListView>

#include "engine/KeyTable.h"
#include "ui/KeyNames.h"

namespace keyvane {

int fillKeyPicker(QComboBox* picker) {
    // Some styles open a pop-up's list as a menu as tall as the screen, ignoring its number of
    // visible items; this one stays a list of that height.
    picker->setStyleSheet(QStringLiteral("combobox-popup: 0;"));
    int disableRow = -1;
    for (const KeyTable::SortedEntry& entry : KeyTable::sortedEntries()) {
        // The key table's separator rows are drawn as lines, which cannot be picked.
        if (entry.name == KeyTable::separatorName) {
            picker->insertSeparator(picker->count());
            continue;
        }
        picker->addItem(QString::fromStdString(entry.name), QString::fromStdString(entry.keyId));
        const int row = picker->count() - 1;
        if (!pcKeyName(entry.name).empty())
            picker->setItemData(row, QString::fromUtf8(pcKeyName(entry.name)), Qt::ToolTipRole);
        if (entry.name == KeyTable::disableKeyName)
            disableRow = row;
    }
    offerDisableKey(picker, disableRow, false);
    picker->setPlaceholderText(QObject::tr("Pick a key…"));
    picker->setCurrentIndex(-1);
    return disableRow;
}

void offerDisableKey(QComboBox* picker, int row, bool offered) {
    qobject_cast<QListView*>(picker->view())->setRowHidden(row, !offered);
}

}  // namespace keyvane
