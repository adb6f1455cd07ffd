#pragma once

#include <QString>
#include <QStringList>
#include <QTimer>
#include <deque>
#include <vector>

namespace keyvane::testing {

// Answers the application's modal alerts in place of a person: it watches for a message box (the
// real one, shown by the code under test), notes what it says and clicks the button whose text it
// was given for that alert, in turn. An empty answer closes the alert without any button.
class AlertAnswerer {
  public:
    struct Seen {
        QString text;             // the message text, the alert's title line
        QString informativeText;  // the smaller text below it
        QStringList buttons;      // in the order the alert offers them
        QString defaultButton;
    };

    explicit AlertAnswerer(std::deque<QString> answers = {});
    void answerNext(const QString& answer) { answers_.push_back(answer); }
    const std::vector<Seen>& seen() const { return seen_; }
    // True while an alert is open and waiting (also when the answers ran out).
    bool alertOpen() const;

  private:
    void look();

    std::deque<QString> answers_;
    std::vector<Seen> seen_;
    QTimer timer_;
};

}  // namespace keyvane::testing
