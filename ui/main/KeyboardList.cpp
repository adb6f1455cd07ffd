#include "ui/main/KeyboardList.h"

#include <QComboBox>
#include <QStringList>

#include "common/Hex.h"
#include "common/Text.h"
#include "engine/MappingStore.h"
#include "platform/Translation.h"

namespace keyvane {
namespace {

constexpr std::size_t productIdField = 1;
constexpr std::size_t titleField = 6;

void addItem(QComboBox* popup, const std::string& title, const std::string& identifier) {
    popup->addItem(QString::fromStdString(title), QString::fromStdString(identifier));
}

}  // namespace

std::optional<std::vector<std::string>> keyboardFields(const std::string& line) {
    if (!line.starts_with("0x") || line.find(" 0x0 ") != std::string::npos)
        return std::nullopt;
    std::string normalised = replacingOccurrences(line, "    ", " ");
    normalised = replacingOccurrences(normalised, "   ", " ");
    normalised = replacingOccurrences(normalised, "  ", " ");
    normalised = replacingOccurrences(normalised, "SPI", "Internal");
    return splitKeepingEmpty(normalised, ' ');
}

void fillKeyboardPopup(QComboBox* keyboardPopup, ShellRunner::Pending listing) {
    addItem(keyboardPopup, translated("KeyboardList", allKeyboardsTitle), allKeyboardsId);
    keyboardPopup->setCurrentIndex(0);

    const std::optional<std::string> storedId = MappingStore::loadKeyboardId();
    for (const std::string& line : splitKeepingEmpty(listing.take(), '\n')) {
        std::optional<std::vector<std::string>> fields = keyboardFields(line);
        if (!fields || fields->size() <= titleField)
            continue;
        const std::string& title = (*fields)[titleField];
        if (keyboardPopup->findText(QString::fromStdString(title),
                                    Qt::MatchExactly | Qt::MatchCaseSensitive) >= 0)
            continue;
        addItem(keyboardPopup, title, (*fields)[productIdField]);
        if (storedId == (*fields)[productIdField])
            keyboardPopup->setCurrentIndex(keyboardPopup->count() - 1);
    }
}

void selectKeyboard(QComboBox* keyboardPopup, const std::string& keyboardId) {
    const QString wanted = QString::fromStdString(keyboardId);
    int index = keyboardPopup->count() - 1;
    while (index >= 0 && keyboardPopup->itemData(index).toString() != wanted)
        --index;
    if (index < 0) {
        addItem(keyboardPopup,
                fillIn(translated("KeyboardList", unlistedKeyboardTitle), {keyboardId}),
                keyboardId);
        index = keyboardPopup->count() - 1;
    }
    keyboardPopup->setCurrentIndex(index);
}

void nameKeyboardsBehindItems(QComboBox* keyboardPopup,
                              const std::vector<StatusKeyboard>& keyboards) {
    for (int item = 0; item < keyboardPopup->count(); ++item) {
        const std::string id = keyboardPopup->itemData(item).toString().toStdString();
        const std::optional<std::uint64_t> productId =
            id.starts_with("0x") ? parseHex(id.substr(2)) : std::nullopt;
        QStringList names;
        for (const StatusKeyboard& keyboard : keyboards) {
            if (id == allKeyboardsId || keyboard.productId == productId)
                names << QString::fromStdString(keyboard.product);
        }
        keyboardPopup->setItemData(
            item, names.isEmpty() ? QString(noKeyboardBehindText) : names.join('\n'),
            Qt::ToolTipRole);
    }
}

}  // namespace keyvane
