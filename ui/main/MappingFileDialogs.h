#pragma once

class QWidget;

namespace keyvane {

// File > Export Mappings… and File > Import Mappings…: the file dialogs and what the user is told.
// Reading and checking the file is MappingFile's; a file that cannot be used changes nothing.
namespace mapping_file_dialogs {

inline constexpr const char* exportFailedTitle = "The mappings could not be exported";
inline constexpr const char* importFailedTitle = "This file cannot be imported";
inline constexpr const char* unchangedText = "Your list is unchanged.";
inline constexpr const char* leftOutText = "These mappings cannot be used and are left out:";
// %1: how many of the file's mappings the list has already ("2 mappings").
inline constexpr const char* alreadyListedText = "Already in your list, so not added again: %1.";
inline constexpr const char* appendButton = "Add to My List";
inline constexpr const char* replaceButton = "Replace My List";
inline constexpr const char* cancelButton = "Cancel";
inline constexpr const char* fileFilter = "Keyvane mappings (*.json);;All files (*)";
inline constexpr const char* suggestedName = "keyvane-mappings.json";

// Asks where, then writes the list and the chosen keyboard there.
void exportMappings(QWidget* parent);
// Asks which file, reads and checks it, shows what it leaves out, and asks whether to add the
// mappings to the list or replace it. True when the list was changed and stored (not installed).
bool importMappings(QWidget* parent);

}  // namespace mapping_file_dialogs
}  // namespace keyvane
