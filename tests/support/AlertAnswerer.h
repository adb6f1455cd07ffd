#pragma once

#include <QString>
#include <QStringList>
#include <QTimer>
#include <deque>
#include <ostream>
#include <vector>

namespace keyvane::testing {

// Answers the application's modal alerts in place of a person: it watches for a message box (the
// real one, shown by the code under test), notes what it says and clicks the button whose text it
// was given for that alert, in turn. An empty answer presses Escape. Once the
// answers run out, alerts stay open, or get their default button when told to press it.
class AlertAnswerer {
  public:
    struct Seen {
        QString text;             // the message text, the alert's title line
        QString informativeText;  // the smaller text below it
        QStringList buttons;      // in the order the alert offers them
        QString defaultButton;

        bool operator==(const Seen&) const = default;
        friend void PrintTo(const Seen& seen, std::ostream* out) {
            *out << "{\"" << seen.text.toStdString() << "\", \""
                 << seen.informativeText.toStdString() << "\", " << seen.buttons.size()
                 << " buttons}";
        }
    };
    enum class WhenUnscripted { LeaveOpen, PressDefault };

    explicit AlertAnswerer(std::deque<QString> answers = {},
                           WhenUnscripted whenUnscripted = WhenUnscripted::LeaveOpen);
    void answerNext(const QString& answer) { answers_.push_back(answer); }
    const std::vector<Seen>& seen() const { return seen_; }
    // True while an alert is open and waiting (also when the answers ran out).
    bool alertOpen() const;
    // Runs the event loop until every task queued on the main queue so far has finished, alerts
    // included, and returns the alerts seen since the last call.
    std::vector<Seen> drain();

  private:
    void look();

    std::deque<QString> answers_;
    WhenUnscripted whenUnscripted_;
    std::vector<Seen> seen_;
    std::size_t drained_ = 0;
    QTimer timer_;
};

}  // namespace keyvane::testing
