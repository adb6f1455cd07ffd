#include "platform/LoginItems.h"

#include "common/AtomicFile.h"
#include "common/XdgDirs.h"

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
                            bool enabled, std::string& error) {
    const std::filesystem::path entry = entryPath(identifier);
    std::error_code ec;
    if (enabled)
        ec = replaceFileAtomically(entry, desktopEntry(executable));
    else
        std::filesystem::remove(entry, ec);
    if (ec)
        error = "cannot " + std::string(enabled ? "write " : "remove ") + entry.string() + ": " +
                ec.message();
    return !ec;
}

}  // namespace keyvane
