#include "platform/KeyboardShortcutsInhibitor.h"

#include <qpa/qplatformnativeinterface.h>

#include <QEvent>
#include <QGuiApplication>
#include <QWidget>
#include <QWindow>
#include <cstdint>
#include <cstring>

#include "keyboard-shortcuts-inhibit-unstable-v1-client-protocol.h"

namespace keyvane {
namespace {

void announceGlobal(void* data, wl_registry* registry, std::uint32_t name, const char* interface,
                    std::uint32_t) {
    if (std::strcmp(interface, zwp_keyboard_shortcuts_inhibit_manager_v1_interface.name) == 0)
        *static_cast<zwp_keyboard_shortcuts_inhibit_manager_v1**>(data) =
            static_cast<zwp_keyboard_shortcuts_inhibit_manager_v1*>(wl_registry_bind(
                registry, name, &zwp_keyboard_shortcuts_inhibit_manager_v1_interface, 1));
}

void forgetGlobal(void*, wl_registry*, std::uint32_t) {}

constexpr wl_registry_listener registryListener = {announceGlobal, forgetGlobal};

// Asked once, on Qt's connection to the compositor, through a queue of its own: Qt reads and
// dispatches that connection's own queue on a thread of its own. Nothing when the compositor does
// not offer the protocol.
zwp_keyboard_shortcuts_inhibit_manager_v1* bindManager(wl_display* display) {
    zwp_keyboard_shortcuts_inhibit_manager_v1* manager = nullptr;
    wl_event_queue* queue = wl_display_create_queue(display);
    auto* wrapper = static_cast<wl_display*>(wl_proxy_create_wrapper(display));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper), queue);
    wl_registry* registry = wl_display_get_registry(wrapper);
    wl_registry_add_listener(registry, &registryListener, &manager);
    wl_display_roundtrip_queue(display, queue);
    wl_registry_destroy(registry);
    wl_proxy_wrapper_destroy(wrapper);
    // The inhibitors' events ("active", "inactive") change nothing here; Qt's queue drops them.
    if (manager)
        wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(manager), nullptr);
    wl_event_queue_destroy(queue);
    return manager;
}

zwp_keyboard_shortcuts_inhibitor_v1* inhibitOnWayland(QWindow* window) {
    QPlatformNativeInterface* native = QGuiApplication::platformNativeInterface();
    auto* display = static_cast<wl_display*>(native->nativeResourceForIntegration("wl_display"));
    auto* seat = static_cast<wl_seat*>(native->nativeResourceForIntegration("wl_seat"));
    auto* surface = static_cast<wl_surface*>(native->nativeResourceForWindow("surface", window));
    static zwp_keyboard_shortcuts_inhibit_manager_v1* const manager = bindManager(display);
    if (!manager || !seat || !surface)
        return nullptr;
    return zwp_keyboard_shortcuts_inhibit_manager_v1_inhibit_shortcuts(manager, surface, seat);
}

}  // namespace

KeyboardShortcutsInhibitor::KeyboardShortcutsInhibitor(QWidget* window)
    : QObject(window), window_(window) {
    window->installEventFilter(this);
}

// The window is being destroyed: the X server ends a grab on a window that goes away by itself.
KeyboardShortcutsInhibitor::~KeyboardShortcutsInhibitor() {
    if (waylandInhibitor_)
        zwp_keyboard_shortcuts_inhibitor_v1_destroy(waylandInhibitor_);
}

bool KeyboardShortcutsInhibitor::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::WindowActivate)
        inhibit();
    else if (event->type() == QEvent::WindowDeactivate || event->type() == QEvent::Hide)
        release();
    return false;
}

void KeyboardShortcutsInhibitor::inhibit() {
    QWindow* window = window_->windowHandle();
    if (!window || waylandInhibitor_ || grabbed_)
        return;
    if (QGuiApplication::platformName().startsWith("wayland"))
        waylandInhibitor_ = inhibitOnWayland(window);
    else if (QGuiApplication::platformName() == "xcb")
        grabbed_ = window->setKeyboardGrabEnabled(true);
}

void KeyboardShortcutsInhibitor::release() {
    if (waylandInhibitor_) {
        zwp_keyboard_shortcuts_inhibitor_v1_destroy(waylandInhibitor_);
        waylandInhibitor_ = nullptr;
    }
    if (grabbed_ && window_->windowHandle())
        window_->windowHandle()->setKeyboardGrabEnabled(false);
    grabbed_ = false;
}

}  // namespace keyvane
