#pragma once

#include <functional>
#include <string>
#include <vector>

namespace keyvane {

// Queues on the main queue a modal alert whose message text is `title` and whose informative text
// is `text`, with a single default button; `then` (may be empty) runs on the main queue once the
// alert has been closed. Returns at once.
void showAlert(const std::string& text, const std::string& title, std::function<void()> then);

// Runs a modal alert now, its texts as in showAlert, and returns when it is closed: the index of
// the clicked button in `buttons` (the first is the default button), or -1 when it was closed
// without one. For code that already runs on the main queue and must wait for the user's choice.
int runModalAlert(const std::string& text, const std::string& title,
                  const std::vector<std::string>& buttons);

}  // namespace keyvane
