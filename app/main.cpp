#include <iostream>

#include "engine/MappingStore.h"

// Until the main window exists, the program shows what it would install: the stored mappings.
int main() {
    keyvane::MappingStore::loadMappings();
    std::cout << keyvane::MappingStore::describe(keyvane::keyMappings) << std::endl;
    std::cout << "keyvane: the main window is not built yet; the stored mappings are listed above."
              << std::endl;
    return 0;
}
