#pragma once

#include <QtGlobal>

class QWidget;

namespace keyvane {

// File > Export Mappings… and File > Import Mappings…: the file dialogs and what the user is told.
// Reading and checking the file is MappingFile's; a file that cannot be used changes nothing.
namespace mapping_file_dialogs {

inline constexpr const char* exportFailedTitle =
    QT_TRANSLATE_NOOP("MappingFileDialogs", "The mappings could not be exported");
inline constexpr const char* importFailedTitle =
    QT_TRANSLATE_NOOP("MappingFileDialogs", "This file cannot be imported");
inline constexpr const char* unchangedText =
    QT_TRANSLATE_NOOP("MappingFileDialogs", "Your list is unchanged.");
inline constexpr const char* leftOutText =
    QT_TRANSLATE_NOOP("MappingFileDialogs", "These mappings cannot be used and are left out:");
// %1: how many of the file's mappings the list has already ("2 mappings").
inline constexpr const char* alreadyListedText =
    QT_TRANSLATE_NOOP("MappingFileDialogs", "Already in your list, so not added again: %1.");
// %1: how many of the file's mappings would be added ("2 mappings"), %2: how many the list has;
// they replace the list (and, where the file names one, the chosen keyboard) as "it" or "them".
inline constexpr const char* addOrReplaceTexts[2][2] = {
    {QT_TRANSLATE_NOOP("MappingFileDialogs",
                       "Add the %1 after the %2 you have, or replace your list with it?"),
     QT_TRANSLATE_NOOP("MappingFileDialogs",
                       "Add the %1 after the %2 you have, or replace your list with them?")},
    {QT_TRANSLATE_NOOP("MappingFileDialogs",
                       "Add the %1 after the %2 you have, or replace your "
                       "list and the chosen keyboard with it?"),
     QT_TRANSLATE_NOOP("MappingFileDialogs",
                       "Add the %1 after the %2 you have, or replace your "
                       "list and the chosen keyboard with them?")}};
// %1: how many mappings the file has.
inline constexpr const char* importTitle = QT_TRANSLATE_NOOP("MappingFileDialogs", "Import %1?");
inline constexpr const char* appendButton =
    QT_TRANSLATE_NOOP("MappingFileDialogs", "Add to My List");
inline constexpr const char* replaceButton =
    QT_TRANSLATE_NOOP("MappingFileDialogs", "Replace My List");
inline constexpr const char* cancelButton = QT_TRANSLATE_NOOP("MappingFileDialogs", "Cancel");
inline constexpr const char* fileFilter =
    QT_TRANSLATE_NOOP("MappingFileDialogs", "Keyvane mappings (*.json);;All files (*)");
inline constexpr const char* suggestedName = "keyvane-mappings.json";

// Asks where, then writes the list and the chosen keyboard there.
void exportMappings(QWidget* parent);
// Asks which file, reads and checks it, shows what it leaves out, and asks whether to add the
// mappings to the list or replace it. True when the list was changed and stored (not installed).
bool importMappings(QWidget* parent);

}  // namespace mapping_file_dialogs
}  // namespace keyvane
