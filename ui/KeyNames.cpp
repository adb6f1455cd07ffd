#include "ui/KeyNames.h"

#include <QCoreApplication>
#include <QKeyEvent>

namespace keyvane {
namespace {

constexpr const char* context = "keyvane::KeyNames";
constexpr const char* pcNameFormat = QT_TRANSLATE_NOOP("keyvane::KeyNames", "%1 (%2)");
constexpr const char* layoutCharacterFormat =
    QT_TRANSLATE_NOOP("keyvane::KeyNames", "%1 — %2 on your keyboard");

// The character a typing key's name begins with ("z", "§ Section"); empty for the other keys,
// whose names say what they do.
QString nameCharacter(const QString& name) {
    return name.size() == 1 || (name.size() > 1 && name[1] == u' ') ? name.left(1) : QString();
}

}  // namespace

QString layoutCharacter(const QKeyEvent& event) {
    const QString text = event.text();
    if (text.size() != 1 || !text[0].isPrint() || text[0].isSpace())
        return {};
    if ((event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier && !text[0].isLetter())
        return {};
    return QString(text[0].toUpper());
}

QString shownKeyName(std::string_view name, const QString& layoutCharacter) {
    QString shown = QString::fromUtf8(name);
    const QString character = nameCharacter(shown);
    if (!pcKeyName(name).empty())
        shown = QCoreApplication::translate(context, pcNameFormat)
                    .arg(shown, QString::fromUtf8(pcKeyName(name)));
    if (!character.isEmpty() && !layoutCharacter.isEmpty() &&
        character.compare(layoutCharacter, Qt::CaseInsensitive) != 0)
        shown =
            QCoreApplication::translate(context, layoutCharacterFormat).arg(shown, layoutCharacter);
    return shown;
}

}  // namespace keyvane
