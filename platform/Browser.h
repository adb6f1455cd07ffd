#pragma once

#include <string>

namespace keyvane {

// Asks the desktop to open `url` in the user's web browser. Whether a browser opened cannot be
// known; false only when the desktop refused the request outright.
bool openInBrowser(const std::string& url);

}  // namespace keyvane
