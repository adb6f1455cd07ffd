#pragma once

#include "engine/MappingStore.h"

namespace keyvane {

// Apply of both windows that add a mapping, the capture window and Add Mapping from Lists: the
// record goes at the end of the list and is stored, reported ("addkey"), shown selected in the main
// window as a step that Undo takes back, and the whole list is installed again.
void addMapping(const KeyMapping& mapping);

}  // namespace keyvane
