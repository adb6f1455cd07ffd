#include "ui/capture/KeyboardWView.h"

#include <QKeyEvent>
#include <sstream>

#include "common/Log.h"
#include "engine/LinuxKeyCodes.h"
#include "ui/KeyNames.h"
#include "ui/capture/KeyboardVC.h"

namespace keyvane {
namespace {

// X11 and Wayland report the kernel's key code plus 8 as the native scan code.
int linuxKeyCodeOf(const QKeyEvent* event) {
    constexpr int nativeScanCodeOffset = 8;
    return static_cast<int>(event->nativeScanCode()) - nativeScanCodeOffset;
}

std::string describe(const QKeyEvent* event, int linuxKeyCode) {
    std::ostringstream text;
    text << (event->type() == QEvent::KeyPress ? "key press" : "key release")
         << (event->isAutoRepeat() ? " (repeat)" : "") << ": linux key code " << linuxKeyCode
         << ", text \"" << event->text().toStdString() << "\"";
    return text.str();
}

}  // namespace

KeyboardWView::KeyboardWView(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
}

bool KeyboardWView::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();  // the key is captured, not a shortcut
        return true;
    }
    return QWidget::event(event);
}

bool KeyboardWView::focusNextPrevChild(bool) {
    return false;
}

void KeyboardWView::keyPressEvent(QKeyEvent* event) {
    if (isModifierLinuxKeyCode(linuxKeyCodeOf(event)))
        modifiersPressedHere_.insert(linuxKeyCodeOf(event));
    forward(event);
}

void KeyboardWView::keyReleaseEvent(QKeyEvent* event) {
    if (!event->isAutoRepeat() && modifiersPressedHere_.erase(linuxKeyCodeOf(event)) > 0)
        forward(event);
    event->accept();
}

void KeyboardWView::forward(QKeyEvent* event) {
    event->accept();
    const int linuxKeyCode = linuxKeyCodeOf(event);
    const std::string description = describe(event, linuxKeyCode);
    // Keys without a virtual key code have no entry in the key table either: nothing to capture.
    // The controller traces what it is handed; the rest is traced here, once.
    std::optional<std::uint16_t> keyCode = virtualKeyCodeForLinuxKeyCode(linuxKeyCode);
    if (currentKeyboardVC && keyCode)
        currentKeyboardVC->handleKeyEvent(
            {*keyCode, description, layoutCharacter(*event).toStdString()});
    else if (event->type() == QEvent::KeyPress)
        trace(description);
}

}  // namespace keyvane
