#include "ui/ChoiceBox.h"

#include <QKeyEvent>
#include <QWheelEvent>

namespace keyvane {

ChoiceBox::ChoiceBox(QWidget* parent) : QComboBox(parent) {}

void ChoiceBox::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

void ChoiceBox::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
        case Qt::Key_Home:
        case Qt::Key_End:
            showPopup();
            return;
        case Qt::Key_Space:  // opens the list
            break;
        default:
            if (!event->text().isEmpty()) {
                event->ignore();  // a closed pop-up would pick the first item starting with it
                return;
            }
    }
    QComboBox::keyPressEvent(event);
}

}  // namespace keyvane
