#include "ui/main/StatusColumn.h"

#include <QCoreApplication>
#include <QStringList>

namespace keyvane {
namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("StatusColumn", text);
}

// One keyboard with several event devices of the same name is named once.
QString names(const std::vector<std::string>& keyboards) {
    QStringList list;
    for (const std::string& name : keyboards)
        if (!list.contains(QString::fromStdString(name)))
            list << QString::fromStdString(name);
    return list.join(", ");
}

QString installedText(std::size_t installed, std::size_t withoutKey) {
    if (withoutKey > 0)
        return tr("Installed on %1 of %2 keyboards").arg(installed).arg(installed + withoutKey);
    return installed == 1 ? tr("Installed on 1 keyboard")
                          : tr("Installed on %1 keyboards").arg(installed);
}

}  // namespace

QString statusText(const std::optional<MappingState>& state) {
    if (!state)
        return {};
    if (!state->unusable.empty())
        return tr("Cannot be installed");
    if (!state->overridden.empty())
        return tr("Overridden on %1, even after installing again").arg(names(state->overridden));
    if (!state->reinstalled.empty())
        return tr("Overridden on %1, installed again").arg(names(state->reinstalled));
    // A keyboard the permanent keymap gives the key counts as one it is installed on.
    if (!state->installed.empty())
        return installedText(state->installed.size() + state->permanent.size(),
                             state->skipped.size());
    if (!state->permanent.empty())
        return tr("Permanent");
    if (!state->skipped.empty())
        return tr("No keyboard has this key");
    return tr("Not installed");
}

QString statusToolTip(const std::optional<MappingState>& state) {
    if (!state)
        return {};
    QStringList lines;
    const std::pair<const std::vector<std::string>*, const char*> groups[] = {
        {&state->installed, "%1: installed"},
        {&state->permanent, "%1: permanent (udev's hwdb)"},
        {&state->reinstalled, "%1: changed by another program, installed again"},
        {&state->overridden, "%1: changed by another program, also after installing again"},
        {&state->skipped, "%1: has no such key"},
        {&state->unusable, "%1: a key of this mapping is unknown"},
    };
    for (const auto& [keyboards, line] : groups)
        for (const std::string& keyboard : *keyboards)
            lines << tr(line).arg(QString::fromStdString(keyboard));
    return lines.isEmpty() ? tr("No keyboard has this mapping installed") : lines.join('\n');
}

}  // namespace keyvane
