#include "ui/main/MappingFileDialogs.h"

#include <QDir>
#include <QFileDialog>

#include "common/Text.h"
#include "engine/MappingFile.h"
#include "platform/Alert.h"
#include "platform/Translation.h"

namespace keyvane::mapping_file_dialogs {
namespace {

std::string tr(const char* text) {
    return translated("MappingFileDialogs", text);
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
        text += tr(leftOutText) + lines(reading.rejected) + "\n\n";
    const std::size_t listed = MappingFile::alreadyListed(reading);
    if (listed > 0)
        text += fillIn(tr(alreadyListedText), {mappingsCount(listed)}) + "\n\n";
    const char* addOrReplace =
        addOrReplaceTexts[reading.keyboardId.has_value()][reading.mappings.size() != 1];
    return text + fillIn(tr(addOrReplace), {mappingsCount(reading.mappings.size() - listed),
                                            mappingsCount(keyMappings.size())});
}

// Tells why the file is not imported, with the mappings it left out; false, as nothing changed.
bool refuse(const std::string& file, const std::string& problem,
            const std::vector<std::string>& rejected = {}) {
    showAlert(file + ": " + problem + "." + lines(rejected) + "\n\n" + tr(unchangedText),
              tr(importFailedTitle), {});
    return false;
}

}  // namespace

void exportMappings(QWidget* parent) {
    const QString file = QFileDialog::getSaveFileName(parent, QObject::tr("Export Mappings"),
                                                      QDir::home().filePath(suggestedName),
                                                      QString::fromStdString(tr(fileFilter)));
    if (file.isEmpty())
        return;
    std::string error;
    if (!MappingFile::write(file.toStdString(), error))
        showAlert(file.toStdString() + ": " + error, tr(exportFailedTitle), {});
}

bool importMappings(QWidget* parent) {
    const QString file =
        QFileDialog::getOpenFileName(parent, QObject::tr("Import Mappings"), QDir::homePath(),
                                     QString::fromStdString(tr(fileFilter)));
    if (file.isEmpty())
        return false;
    const MappingFile::Reading reading = MappingFile::read(file.toStdString());
    if (!reading.problem.empty())
        return refuse(file.toStdString(), reading.problem, reading.rejected);
    // Neither way would fit in one installation: no question whose every answer is refused.
    const std::string replaceProblem =
        MappingFile::adoptionProblem(reading, MappingFile::Adoption::Replace);
    if (!replaceProblem.empty() &&
        !MappingFile::adoptionProblem(reading, MappingFile::Adoption::Append).empty())
        return refuse(file.toStdString(), replaceProblem);
    const std::string title = fillIn(tr(importTitle), {mappingsCount(reading.mappings.size())});
    MappingFile::Adoption how;
    switch (runModalAlert(question(reading), title,
                          {tr(appendButton), tr(replaceButton), tr(cancelButton)})) {
        case 0:
            how = MappingFile::Adoption::Append;
            break;
        case 1:
            how = MappingFile::Adoption::Replace;
            break;
        default:
            return false;
    }
    if (const std::string problem = MappingFile::adoptionProblem(reading, how); !problem.empty())
        return refuse(file.toStdString(), problem);
    MappingFile::adopt(reading, how);
    return true;
}

}  // namespace keyvane::mapping_file_dialogs
