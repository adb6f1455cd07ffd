#pragma once

namespace keyvane {

// Ends the application: its event loop returns as soon as the running main-queue task has
// returned, and nothing (no window, no dialog) can refuse.
void terminateApplication();

}  // namespace keyvane
