// Types on a Wayland compositor's seat as a keyboard does, for the Wayland end-to-end test: kernel
// key codes with the standard keymap (evdev rules, pc105, us), through the virtual-keyboard
// protocol. It also gives the seat a pointer, which the compositor's own cursor commands click
// with, and hands out xdg-activation tokens, as a desktop's launcher does for the programs
// it starts. Says "ready" once the compositor has the keyboard; then one command a line on
// standard input, each answered once the compositor has handled it:
//   press CODE, release CODE, tap CODE    "ok"
//   token                                 a new activation token
#include <sys/mman.h>
#include <unistd.h>
#include <xkbcommon/xkbcommon.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>

#include "virtual-keyboard-unstable-v1-client-protocol.h"
#include "xdg-activation-v1-client-protocol.h"

namespace {

struct Globals {
    wl_seat* seat = nullptr;
    zwp_virtual_keyboard_manager_v1* keyboards = nullptr;
    zwlr_virtual_pointer_manager_v1* pointers = nullptr;
    xdg_activation_v1* activation = nullptr;
};

template <typename Proxy>
void bindIf(wl_registry* registry, std::uint32_t name, const char* offered,
            const wl_interface& wanted, Proxy*& into) {
    if (std::strcmp(offered, wanted.name) == 0)
        into = static_cast<Proxy*>(wl_registry_bind(registry, name, &wanted, 1));
}

void announce(void* data, wl_registry* registry, std::uint32_t name, const char* interface,
              std::uint32_t) {
    auto* globals = static_cast<Globals*>(data);
    bindIf(registry, name, interface, wl_seat_interface, globals->seat);
    bindIf(registry, name, interface, zwp_virtual_keyboard_manager_v1_interface,
           globals->keyboards);
    bindIf(registry, name, interface, zwlr_virtual_pointer_manager_v1_interface, globals->pointers);
    bindIf(registry, name, interface, xdg_activation_v1_interface, globals->activation);
}

void forget(void*, wl_registry*, std::uint32_t) {}

constexpr wl_registry_listener registryListener = {announce, forget};

void tokenDone(void* data, xdg_activation_token_v1*, const char* token) {
    *static_cast<std::string*>(data) = token;
}

constexpr xdg_activation_token_v1_listener tokenListener = {tokenDone};

std::string newToken(wl_display* display, xdg_activation_v1* activation) {
    std::string token;
    xdg_activation_token_v1* request = xdg_activation_v1_get_activation_token(activation);
    xdg_activation_token_v1_add_listener(request, &tokenListener, &token);
    xdg_activation_token_v1_commit(request);
    while (token.empty() && wl_display_dispatch(display) >= 0) {
    }
    xdg_activation_token_v1_destroy(request);
    return token;
}

// The keymap travels as a file that the compositor maps.
void sendKeymap(zwp_virtual_keyboard_v1* keyboard, xkb_keymap* keymap) {
    const std::unique_ptr<char, decltype(&std::free)> text(
        xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1), &std::free);
    const std::size_t size = std::strlen(text.get()) + 1;
    const int file = memfd_create("keymap", MFD_CLOEXEC);
    if (file < 0 || write(file, text.get(), size) != static_cast<ssize_t>(size))
        std::exit(1);
    zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file, size);
    close(file);
}

// The compositor takes the modifiers from the keyboard as it reports them, not from its keys.
void sendKey(zwp_virtual_keyboard_v1* keyboard, xkb_state* state, unsigned code, bool down) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    zwp_virtual_keyboard_v1_key(
        keyboard, std::chrono::duration_cast<std::chrono::milliseconds>(now).count(), code,
        down ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
    constexpr unsigned xkbCodeOffset = 8;
    xkb_state_update_key(state, code + xkbCodeOffset, down ? XKB_KEY_DOWN : XKB_KEY_UP);
    zwp_virtual_keyboard_v1_modifiers(
        keyboard, xkb_state_serialize_mods(state, XKB_STATE_MODS_DEPRESSED),
        xkb_state_serialize_mods(state, XKB_STATE_MODS_LATCHED),
        xkb_state_serialize_mods(state, XKB_STATE_MODS_LOCKED),
        xkb_state_serialize_layout(state, XKB_STATE_LAYOUT_EFFECTIVE));
}

}  // namespace

int main() {
    wl_display* display = wl_display_connect(nullptr);
    Globals globals;
    if (display) {
        wl_registry_add_listener(wl_display_get_registry(display), &registryListener, &globals);
        wl_display_roundtrip(display);
    }
    if (!globals.seat || !globals.keyboards || !globals.pointers || !globals.activation) {
        std::cerr
            << "wayland-keys: no compositor with virtual keyboards, pointers and activation\n";
        return 1;
    }
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    const xkb_rule_names standard = {"evdev", "pc105", "us", "", ""};
    xkb_keymap* keymap = xkb_keymap_new_from_names(context, &standard, XKB_KEYMAP_COMPILE_NO_FLAGS);
    xkb_state* state = xkb_state_new(keymap);
    zwp_virtual_keyboard_v1* keyboard =
        zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(globals.keyboards, globals.seat);
    sendKeymap(keyboard, keymap);
    zwlr_virtual_pointer_manager_v1_create_virtual_pointer(globals.pointers, globals.seat);
    wl_display_roundtrip(display);
    std::cout << "ready" << std::endl;
    for (std::string command; std::cin >> command;) {
        if (command == "token") {
            std::cout << newToken(display, globals.activation) << std::endl;
            continue;
        }
        unsigned code = 0;
        std::cin >> code;
        if (command != "release")
            sendKey(keyboard, state, code, true);
        if (command != "press")
            sendKey(keyboard, state, code, false);
        wl_display_roundtrip(display);
        std::cout << "ok" << std::endl;
    }
    xkb_state_unref(state);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    wl_display_disconnect(display);
}
