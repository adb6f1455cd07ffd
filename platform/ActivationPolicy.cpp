#include "platform/ActivationPolicy.h"

namespace keyvane {
namespace {

ActivationPolicy current = ActivationPolicy::Regular;  // main thread only

}  // namespace

void setActivationPolicy(ActivationPolicy policy) {
    current = policy;
}

ActivationPolicy activationPolicy() {
    return current;
}

}  // namespace keyvane
