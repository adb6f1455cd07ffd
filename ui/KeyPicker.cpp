#include "ui/KeyPicker.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QListView>
#include <QStandardItemModel>

#include "engine/KeyTable.h"
#include "ui/KeyNames.h"

namespace keyvane {
namespace {

// What a key press types, unless it types nothing or is a shortcut.
QString typedText(const QKeyEvent* key) {
    if (key->text().isEmpty() || !key->text()[0].isPrint() ||
        key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
        return {};
    return key->text();
}

// Typing finds a key by any part of its shown name, one that begins with the typed text first, so
// that "Super" finds "Command (Super)"; a row that cannot be picked ("Disable key" before the
// original key is set) is passed over. Typing into the closed, focused list opens it. Qt's own
// search finds only names that begin with the text, and hidden rows too.
class TypeToFind : public QObject {
  public:
    explicit TypeToFind(QComboBox* picker) : QObject(picker), picker_(picker) {
        picker->installEventFilter(this);
        picker->view()->installEventFilter(this);
    }

  private:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show)
            typed_.clear();  // each opened list is searched afresh
        if (event->type() != QEvent::KeyPress)
            return false;
        const QString text = typedText(static_cast<QKeyEvent*>(event));
        if (text.isEmpty())
            return false;
        if (!sinceTyped_.isValid() || sinceTyped_.hasExpired(QApplication::keyboardInputInterval()))
            typed_.clear();
        if ((typed_ + text).trimmed().isEmpty())
            return false;  // Space opens the list or picks, as ever
        if (watched == picker_)
            picker_->showPopup();  // before the text is taken, since opening starts afresh
        typed_ += text;
        sinceTyped_.start();
        find();
        return true;
    }

    void find() {
        const QModelIndex top = picker_->model()->index(0, 0);
        for (Qt::MatchFlag how : {Qt::MatchStartsWith, Qt::MatchContains})
            for (const QModelIndex& row :
                 picker_->model()->match(top, Qt::DisplayRole, typed_, -1, how))
                if (row.flags() & Qt::ItemIsEnabled) {
                    picker_->view()->setCurrentIndex(row);
                    return;
                }
    }

    QComboBox* picker_;
    QString typed_;
    QElapsedTimer sinceTyped_;
};

}  // namespace

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
        picker->addItem(shownKeyName(entry.name), QString::fromStdString(entry.keyId));
        if (entry.name == KeyTable::disableKeyName)
            disableRow = picker->count() - 1;
    }
    offerDisableKey(picker, disableRow, false);
    picker->setPlaceholderText(QObject::tr("Pick a key…"));
    picker->setCurrentIndex(-1);
    new TypeToFind(picker);
    return disableRow;
}

void offerDisableKey(QComboBox* picker, int row, bool offered) {
    qobject_cast<QListView*>(picker->view())->setRowHidden(row, !offered);
    // A hidden row can still be reached with Home or Page Up; a disabled one cannot be picked.
    qobject_cast<QStandardItemModel*>(picker->model())->item(row)->setEnabled(offered);
}

}  // namespace keyvane
