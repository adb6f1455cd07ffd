#pragma once

#include <QObject>
#include <QTimer>
#include <ostream>
#include <string>
#include <vector>

namespace keyvane::testing {

// Answers every modal message box that opens while it lives, as a user would, and records it.
class AlertRecorder : public QObject {
  public:
    struct Alert {
        std::string title;  // the message text
        std::string text;   // the informative text
        std::vector<std::string> buttons;
        bool operator==(const Alert&) const = default;
        friend void PrintTo(const Alert& alert, std::ostream* out) {
            *out << "{\"" << alert.title << "\", \"" << alert.text << "\", " << alert.buttons.size()
                 << " buttons}";
        }
    };

    // `button`: which button to press, by position (0: the first, the default).
    explicit AlertRecorder(int button = 0);

    // Runs the event loop until every task queued on the main queue so far has finished, alerts
    // included, and returns the alerts seen since the last call.
    std::vector<Alert> drain();
    void pressButton(int button) { button_ = button; }

  private:
    void answerOpenAlert();

    QTimer poll_;
    int button_;
    std::vector<Alert> seen_;
};

}  // namespace keyvane::testing
