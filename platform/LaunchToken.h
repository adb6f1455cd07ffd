#pragma once

#include <string>

namespace keyvane {

// What a launcher hands the program it starts so that the desktop lets that program's window come
// to the front: an xdg-activation token on Wayland, a startup notification id on X11 (whose time
// tells the window manager when the user asked). A second start passes its own to the running
// copy, whose window comes up in its place.
struct LaunchToken {
    static constexpr const char* activationTokenVariable = "XDG_ACTIVATION_TOKEN";
    static constexpr const char* startupIdVariable = "DESKTOP_STARTUP_ID";

    std::string activationToken;
    std::string startupId;

    // To be read before the application object exists: Qt's X11 connection takes the startup id
    // out of the environment as it starts.
    static LaunchToken fromEnvironment();

    // The next activation of a window (QWidget::activateWindow) presents this token.
    void useForNextActivation() const;
};

}  // namespace keyvane
