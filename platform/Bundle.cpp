#include "platform/Bundle.h"

#ifndef KEYVANE_BUNDLE_VERSION
#error "KEYVANE_BUNDLE_VERSION must be defined by the build"
#endif

namespace keyvane::bundle {

std::string shortVersion() {
    return KEYVANE_BUNDLE_VERSION;
}

}  // namespace keyvane::bundle
