#pragma once

#include <QString>
#include <optional>

#include "engine/MappingStatus.h"

namespace keyvane {

// What the main table's status column says of one mapping, in a few words, and keyboard by
// keyboard in its tool tip. Nothing before the first check.
QString statusText(const std::optional<MappingState>& state);
QString statusToolTip(const std::optional<MappingState>& state);

}  // namespace keyvane
