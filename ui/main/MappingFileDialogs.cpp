#include "ui/main/MappingFileDialogs.h"

#include <QDir>
#include <QFileDialog>

#include "engine/MappingFile.h"
#include "platform/Alert.h"

namespace keyvane::mapping_file_dialogs {
namespace {

std::string mappingsCount(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " mapping" : " mappings");
}

std::string lines(const std::vector<std::string>& texts) {
    std::string result;
    for (const std::string& text : texts)
        result += "\n• " + text;
    return result;
}

std::string question(const MappingFile::Reading& reading) {
    std::string text;
    if (!reading.rejected.empty())
        text += leftOutText + lines(reading.rejected) + "\n\n";
    text += "Add the " + mappingsCount(reading.mappings.size()) + " after the " +
            mappingsCount(keyMappings.size()) + " you have, or replace your list";
    if (reading.keyboardId)
        text += " and the chosen keyboard";
    return text + (reading.mappings.size() == 1 ? " with it?" : " with them?");
}

}  // namespace

void exportMappings(QWidget* parent) {
    const QString file = QFileDialog::getSaveFileName(
        parent, QObject::tr("Export Mappings"), QDir::home().filePath(suggestedName), fileFilter);
    if (file.isEmpty())
        return;
    std::string error;
    if (!MappingFile::write(file.toStdString(), error))
        showAlert(file.toStdString() + ": " + error, exportFailedTitle, {});
}

bool importMappings(QWidget* parent) {
    const QString file = QFileDialog::getOpenFileName(parent, QObject::tr("Import Mappings"),
                                                      QDir::homePath(), fileFilter);
    if (file.isEmpty())
        return false;
    const MappingFile::Reading reading = MappingFile::read(file.toStdString());
    if (!reading.problem.empty()) {
        std::string text = file.toStdString() + ": " + reading.problem + ".";
        if (!reading.rejected.empty())
            text += lines(reading.rejected);
        showAlert(text + "\n\n" + unchangedText, importFailedTitle, {});
        return false;
    }
    const std::string title = "Import " + mappingsCount(reading.mappings.size()) + "?";
    switch (runModalAlert(title, question(reading), {appendButton, replaceButton, cancelButton})) {
        case 0:
            MappingFile::adopt(reading, MappingFile::Adoption::Append);
            return true;
        case 1:
            MappingFile::adopt(reading, MappingFile::Adoption::Replace);
            return true;
        default:
            return false;
    }
}

}  // namespace keyvane::mapping_file_dialogs
