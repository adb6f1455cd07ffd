#include "platform/LoginItems.h"

#include "common/AtomicFile.h"
#include "common/Log.h"
#include "platform/XdgDirs.h"

namespace keyvane {
namespace {

// A desktop entry's Exec value holding one argument. Inside the double quotes, ", `, $ and \ take
// a backslash; the entry's string escaping then doubles every backslash; a literal % is %%. So a
// folder such as "/opt/100% $HOME" starts exactly that program and nothing the shell makes of it.
std::string quotedExecArgument(const std::string& argument) {
    std::string quoted = "\"";
    for (char c : argument) {
        if (c == '"' || c == '`' || c == '$')
            quoted += "\\\\";
        else if (c == '\\')
            quoted += "\\\\\\";
        else if (c == '%')
            quoted += '%';
        quoted += c;
    }
    return quoted + "\"";
}

std::string desktopEntry(const std::filesystem::path& executable) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Keyvane at login\n"
           "Comment=Installs your Keyvane key mappings when you log in\n"
           "Exec=" +
           quotedExecArgument(executable.string()) +
           "\n"
           "Terminal=false\n"
           "NoDisplay=true\n"
           "X-GNOME-Autostart-enabled=true\n";
}

}  // namespace

std::filesystem::path LoginItems::entryPath(const std::string& identifier) {
    return xdgConfigHome() / "autostart" / (identifier + ".desktop");
}

bool LoginItems::setEnabled(const std::string& identifier, const std::filesystem::path& executable,
                            bool enabled) {
    const std::filesystem::path entry = entryPath(identifier);
    if (enabled) {
        const std::error_code error = replaceFileAtomically(entry, desktopEntry(executable));
        if (!error)
            return true;
        warn("cannot enable the login item " + entry.string() + ": " + error.message());
        return false;
    }
    std::error_code ec;
    std::filesystem::remove(entry, ec);
    if (!ec)
        return true;
    warn("cannot remove " + entry.string() + ": " + ec.message());
    return false;
}

}  // namespace keyvane
