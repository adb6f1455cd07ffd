#include "platform/LaunchToken.h"

#include <private/qtx11extras_p.h>

#include <QGuiApplication>
#include <charconv>
#include <cstdint>
#include <optional>

namespace keyvane {
namespace {

// A startup id ends in "_TIME" and the X server time of the user's action that started the
// program.
std::optional<std::uint32_t> timeOf(const std::string& startupId) {
    constexpr std::string_view marker = "_TIME";
    const std::size_t at = startupId.rfind(marker);
    if (at == std::string::npos)
        return std::nullopt;
    const char* begin = startupId.data() + at + marker.size();
    const char* end = startupId.data() + startupId.size();
    std::uint32_t time = 0;
    const auto [stop, error] = std::from_chars(begin, end, time);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return time;
}

}  // namespace

LaunchToken LaunchToken::fromEnvironment() {
    return {qEnvironmentVariable(activationTokenVariable).toStdString(),
            qEnvironmentVariable(startupIdVariable).toStdString()};
}

void LaunchToken::useForNextActivation() const {
    // Qt's Wayland client presents, and then removes, the token it finds in the environment when
    // it activates a window.
    if (QGuiApplication::platformName().startsWith("wayland") && !activationToken.empty())
        qputenv(activationTokenVariable, QByteArray::fromStdString(activationToken));
    // Qt's X11 connection ends the launch feedback of its startup id when a window is shown, and
    // asks the window manager for the focus with the time it knows of last.
    if (QX11Info::isPlatformX11() && !startupId.empty()) {
        QX11Info::setNextStartupId(QByteArray::fromStdString(startupId));
        if (const std::optional<std::uint32_t> time = timeOf(startupId))
            QX11Info::setAppTime(*time);
    }
}

}  // namespace keyvane
