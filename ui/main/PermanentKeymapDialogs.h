#pragma once

#include <QDialog>
#include <QObject>
#include <QPointer>
#include <chrono>

#include "engine/PermanentKeymap.h"

class QLabel;
class QPushButton;
class QTimer;

namespace keyvane {

// How File > Make Permanent… runs the helper; tests name a stand-in and shorten the countdown.
struct PermanentSettings {
    PermanentHelper helper;
    // How long each second of the "Keep these keys?" countdown lasts.
    std::chrono::milliseconds countdownSecond = std::chrono::seconds(1);
};

// "Keep these keys?": counts down the helper's seconds. Keep accepts; Change Back, closing the
// window and the count reaching 0 reject, which puts the keys back.
class KeepKeysDialog : public QDialog {
    Q_OBJECT
  public:
    explicit KeepKeysDialog(QWidget* parent,
                            std::chrono::milliseconds second = std::chrono::seconds(1));

    int secondsLeft() const { return secondsLeft_; }

  private:
    void tick();
    void showSecondsLeft();

    int secondsLeft_;
    QLabel* text_;
    QTimer* timer_;
};

// File > Make Permanent… and File > Remove Permanent Keymap: the questions before, the helper run
// asynchronously, the countdown when the keys have changed, and what became of it.
class PermanentKeymapDialogs : public QObject {
    Q_OBJECT
  public:
    PermanentKeymapDialogs(QWidget* window, PermanentSettings settings);

    void makePermanent();
    void removePermanent();
    bool running() const { return keymap_.running(); }
    // The countdown while it is open.
    KeepKeysDialog* keepKeysDialog() const { return dialog_; }

    static constexpr const char* okButton = QT_TR_NOOP("OK");

  signals:
    // True while the helper runs: nothing else may start it meanwhile.
    void runningChanged(bool running);

  private:
    bool helperMissing();
    void changed();
    void finished(const PermanentKeymap::Result& result);

    QWidget* window_;
    std::chrono::milliseconds countdownSecond_;
    PermanentKeymap keymap_;
    QPointer<KeepKeysDialog> dialog_;
    bool removing_ = false;
};

}  // namespace keyvane
