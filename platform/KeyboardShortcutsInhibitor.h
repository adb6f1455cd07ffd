#pragma once

#include <QObject>

class QWidget;
struct zwp_keyboard_shortcuts_inhibitor_v1;

namespace keyvane {

// While `window` is the active window, the keys the desktop keeps for its own shortcuts (Super,
// Print, the volume keys, a compositor's bindings) reach it instead: on Wayland the compositor is
// asked to hold its shortcuts back (keyboard-shortcuts-inhibit), on X11 the keyboard is grabbed.
// Both end when the window loses the focus, closes or goes away.
class KeyboardShortcutsInhibitor : public QObject {
  public:
    explicit KeyboardShortcutsInhibitor(QWidget* window);
    ~KeyboardShortcutsInhibitor() override;

  private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void inhibit();
    void release();

    QWidget* window_;
    zwp_keyboard_shortcuts_inhibitor_v1* waylandInhibitor_ = nullptr;
    bool grabbed_ = false;
};

}  // namespace keyvane
