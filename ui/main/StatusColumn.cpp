#include "ui/main/StatusColumn.h"

#include <QCoreApplication>
#include <QStringList>

namespace keyvane {
namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("StatusColumn", text);
}

constexpr const char* replacedToolTip =
    QT_TRANSLATE_NOOP("StatusColumn",
                      "Row %1 maps the same key: a key gives one code, and the "
                      "last mapping of it wins");
constexpr const char* nowhereToolTip =
    QT_TRANSLATE_NOOP("StatusColumn", "No keyboard has this mapping installed");

}  // namespace

QString statusText(const std::optional<MappingState>& state) {
    return QString::fromStdString(MappingStatus::describe(state));
}

QString statusToolTip(const std::optional<MappingState>& state) {
    if (!state)
        return {};
    QStringList lines;
    if (state->replacedBy)
        lines << tr(replacedToolTip).arg(*state->replacedBy);
    const std::pair<const std::vector<std::string>*, const char*> groups[] = {
        {&state->installed, QT_TRANSLATE_NOOP("StatusColumn", "%1: installed")},
        {&state->permanent, QT_TRANSLATE_NOOP("StatusColumn", "%1: permanent (udev's hwdb)")},
        {&state->reinstalled,
         QT_TRANSLATE_NOOP("StatusColumn", "%1: changed by another program, installed again")},
        {&state->overridden,
         QT_TRANSLATE_NOOP("StatusColumn",
                           "%1: changed by another program, also after installing again")},
        {&state->skipped, QT_TRANSLATE_NOOP("StatusColumn", "%1: has no such key")},
        {&state->unusable,
         QT_TRANSLATE_NOOP("StatusColumn", "%1: a key of this mapping is unknown")},
    };
    for (const auto& [keyboards, line] : groups)
        for (const std::string& keyboard : *keyboards)
            lines << tr(line).arg(QString::fromStdString(keyboard));
    return lines.isEmpty() ? tr(nowhereToolTip) : lines.join('\n');
}

}  // namespace keyvane
