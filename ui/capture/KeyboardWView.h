#pragma once

#include <QWidget>
#include <set>

namespace keyvane {

// The part of the capture window that holds keyboard focus and hands every key to the capture
// controller: ordinary keys when pressed (repeats included), modifier keys when pressed and when
// released. A modifier that was already down when the window opened (the Ctrl of Ctrl+N) is not a
// key the user chose here, so its release is not handed on. Nothing is passed on to Qt, so no key
// moves focus, closes the window or triggers a shortcut.
class KeyboardWView : public QWidget {
    Q_OBJECT
  public:
    explicit KeyboardWView(QWidget* parent = nullptr);

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool next) override;

  private:
    void forward(QKeyEvent* event);

    std::set<int> modifiersPressedHere_;  // Linux key codes
};

}  // namespace keyvane
