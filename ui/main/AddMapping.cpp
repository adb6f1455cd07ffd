#include "ui/main/AddMapping.h"

#include "engine/MappingApplier.h"
#include "remote/SCL.h"
#include "ui/main/MainVC.h"

namespace keyvane {

void addMapping(const KeyMapping& mapping) {
    MappingStore::appendMapping(mapping);
    SCL::logEvent("addkey", mapping.at("original"), mapping.at("remapped"));
    if (currentMainVC)
        currentMainVC->mappingAdded();
    MappingApplier::applyMappings();
}

}  // namespace keyvane
