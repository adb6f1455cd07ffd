#pragma once

#include <QtGlobal>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "engine/PermanentKeymap.h"

namespace keyvane {

// `keyvane` with options: install, remove, list, export and import the mappings from a console or
// a script, without a display. A running copy of Keyvane carries the commands out itself (asked
// over the session bus), so that it and the command agree on the list; without one, the command
// works on the stored settings and runs hidutil itself. Nothing here waits for the network.
class CommandLine {
  public:
    enum class Action {
        Apply,
        Restore,
        List,
        Status,
        Export,
        Import,
        MakePermanent,
        RemovePermanent,
        Help,
        Version
    };
    struct Command {
        Action action = Action::Help;
        std::string file;  // --export, --import
        bool append = false;
    };

    // Where a command runs: what it writes, and how it installs the list of this process and
    // tells the rest of the process about changes.
    struct Session {
        std::ostream& out;
        std::ostream& err;
        std::function<bool()> install;  // installs `keyMappings`; true when hidutil confirmed it
        std::function<void()> listChanged;
        std::function<void()> restored;
    };

    static constexpr int usageError = 2;
    // Said when the command cannot reach the running copy; nothing is carried out here then.
    static constexpr const char* outOfReachText = QT_TRANSLATE_NOOP(
        "CommandLine",
        "Keyvane runs for this user, but not on this session's message bus, so it cannot be "
        "asked to import; its list would overwrite the import. Run the command in its desktop "
        "session, or end Keyvane first.");
    static constexpr const char* noAnswerText = QT_TRANSLATE_NOOP(
        "CommandLine",
        "Keyvane runs but did not answer, so the command may not have been carried out: ");
    static constexpr const char* usage = QT_TRANSLATE_NOOP(
        "CommandLine",
        "Usage: keyvane [OPTION]\n"
        "Without an option, Keyvane opens its window (or shows the one of the running copy).\n"
        "\n"
        "  --apply            install the stored mappings for the chosen keyboard\n"
        "  --restore          remove every mapping from the system (a running Keyvane ends,\n"
        "                     so that it does not install them again; your list is kept)\n"
        "  --list             print the chosen keyboard and the mappings, one a line\n"
        "  --status           print what each keyboard has installed (hidutil status)\n"
        "  --export FILE      write the mappings and the chosen keyboard to FILE (JSON)\n"
        "  --import FILE      replace the mappings (and the chosen keyboard) with those in FILE,\n"
        "                     then install them\n"
        "  --import FILE --append\n"
        "                     add the mappings in FILE after yours, then install them all\n"
        "  --make-permanent   write the stored mappings for the chosen keyboard to udev's hwdb\n"
        "                     (as root, through pkexec), so that they hold at the login screen,\n"
        "                     on the console and for every user; press Enter within 20 seconds\n"
        "                     to keep the new keys, or they change back\n"
        "  --remove-permanent remove that permanent keymap\n"
        "  -h, --help         print this help\n"
        "  -v, --version      print Keyvane's version\n"
        "\n"
        "When Keyvane runs, the command is carried out by it, except the permanent ones, which\n"
        "always run here. Exit status: 0 when it worked, 1 when it did not (or the keys changed\n"
        "back), 2 for options that are not understood.\n");

    // The program entry for a start with options.
    static int main(int argc, char** argv);

    // The command that `arguments` (without the program's name) ask for, or nothing with the
    // reason in `error`.
    static std::optional<Command> parse(const std::vector<std::string>& arguments,
                                        std::string& error);
    // The arguments that ask for `command`.
    static std::vector<std::string> arguments(const Command& command);

    // Carries out one of the commands that work on the list; returns the exit status.
    static int execute(const Command& command, const Session& session);
    // Carries out --make-permanent or --remove-permanent with `helper`, always in this process,
    // reading the answer to "keep these keys?" from `input` (a file descriptor); returns the exit
    // status.
    static int executePermanent(const Command& command, const Session& session,
                                const PermanentHelper& helper, int input);
};

}  // namespace keyvane
