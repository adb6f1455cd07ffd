#pragma once

#include <QComboBox>

namespace keyvane {

// A pop-up whose choice changes only when the user picks an item from its opened list. A closed
// QComboBox also changes its item (and reports it as activated) on a wheel notch, an arrow key or
// a typed letter, so a mouse passing over it, or a key meant for another control, would silently
// change a setting. Here the wheel does nothing, the arrow keys open the list, and typing is left
// to the list once it is open.
class ChoiceBox : public QComboBox {
    Q_OBJECT
  public:
    explicit ChoiceBox(QWidget* parent = nullptr);

  protected:
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace keyvane
