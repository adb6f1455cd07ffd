#pragma once

#include <QtGlobal>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "keys/HidutilContract.h"

namespace keyvane {

// What an installation tells beyond its trace, handed in by the application: events and errors for
// the web service, and alerts (text, title) for the user. Left empty, they are not told.
struct ApplierEffects {
    std::function<void(const std::string& name, const std::string& value, const std::string& notes)>
        logEvent;
    std::function<void(const std::string& message)> logError;
    std::function<void(const std::string& text, const std::string& title)> showAlert;
};

// Installs the whole of `keyMappings` with one hidutil command, for every keyboard or for the one
// whose product id is stored under "keyboardId". Always clears first, so the installed mappings
// are rebuilt from the list and never patched; but a list too long for any command changes
// nothing, since after the clearing it could not be installed.
class MappingApplier {
  public:
    // Main thread only, like every installation.
    static void setEffects(ApplierEffects effects);
    // What one installation ran and what hidutil answered.
    struct Installation {
        std::string clearingOutput;
        std::string command;  // empty when no record was usable: only the clearing ran
        std::string result;
        bool hasBlankId = false;
        bool tooLong = false;  // refused before anything ran: no command could carry the list
        bool installed() const;
    };

    // Installs and reports its own problems (alerts, event log); true when it worked.
    static bool applyMappings();
    // Installs without reporting anything, for callers that tell the user themselves.
    static Installation install();
    // Run just before the installation command, and after it (not when the list holds nothing to
    // install).
    static void setAroundInstall(std::function<void()> before, std::function<void()> after);
    // What the alert of a failed installation adds about its cause, once it has been read back: a
    // sentence (empty when unknown), and whether the user was told it already, so that an
    // installation that keeps failing for one reason does not alert every time.
    struct FailureCause {
        std::string text;
        bool toldBefore = false;
    };
    static void setFailureCause(std::function<FailureCause()> cause);

    // The command that installs the list, or the empty string when no record is usable.
    static std::string composeCommand();
    // What that command gives hidutil after --set and after --matching, unquoted, for a program
    // that is handed them as arguments of its own: `property` is empty when no record is usable,
    // and there is no `matching` for all keyboards.
    struct PropertyTexts {
        std::string property;
        std::optional<std::string> matching;
    };
    static PropertyTexts composeProperty();

    // bash gets the whole command as one argument, and the kernel refuses to start a program with
    // an argument longer than 32 pages, its closing NUL included (MAX_ARG_STRLEN). Pages are at
    // least 4 KiB on every Linux, so a list that fits here fits on any machine it is taken to.
    static constexpr std::size_t longestArgument = 32 * 4096;
    static bool fitsOneArgument(const std::string& command);
    // The most mappings one command can install on `keyboardId` (absent: every keyboard), each of
    // two keys named by two digits, as every key of the key table is; a keyboard's id lengthens
    // the command, so that it carries fewer.
    static std::size_t maximumMappings(const std::optional<std::string>& keyboardId);
    // The same for the stored keyboard.
    static std::size_t maximumMappings();
    // Why the list of this process is not installed: the text of the too-many alert, filled in.
    static std::string tooManyMappingsText();

    // The command lines hidutil understands, from the words both sides share.
    static constexpr const char* clearingCommand = contract::clearingCommand;
    static constexpr const char* allKeyboardsTemplate = contract::allKeyboardsTemplate;
    static constexpr const char* oneKeyboardTemplateHead = contract::oneKeyboardTemplateHead;
    static constexpr const char* oneKeyboardTemplateTail = contract::oneKeyboardTemplateTail;
    static constexpr const char* placeholder = contract::placeholder;
    // The same words as the templates, without the command around them.
    static constexpr const char* propertyTemplate = contract::propertyTemplate;
    static constexpr const char* matchingHead = contract::matchingHead;
    static constexpr const char* matchingTail = contract::matchingTail;
    static constexpr const char* entryHead = contract::entryHead;
    static constexpr const char* entryMiddle = contract::entryMiddle;
    static constexpr const char* entryTail = contract::entryTail;
    static constexpr const char* blankSourceMarker = ": 0x7000000,";
    static constexpr const char* blankDestinationMarker = ": 0x7000000}";
    static constexpr const char* successMarker = contract::userKeyMapping;

    static constexpr const char* blankIdError =
        "error applying mapping - originalId or remappedId was blank\n\n";
    static constexpr const char* blankIdAlertTitle =
        QT_TRANSLATE_NOOP("MappingApplier", "Error applying mapping");
    static constexpr const char* blankIdAlertText = QT_TRANSLATE_NOOP(
        "MappingApplier",
        "OriginalId or remappedId was blank, please remove all mappings and re-add them.");
    // %1: how many mappings the list has, %2: the most one installation can carry, %3: how many
    // to remove ("21 mappings").
    static constexpr const char* tooManyAlertTitle =
        QT_TRANSLATE_NOOP("MappingApplier", "Too many mappings to install");
    static constexpr const char* tooManyAlertText = QT_TRANSLATE_NOOP(
        "MappingApplier",
        "Your list has %1 mappings, but one installation can carry at most %2. Remove %3; until "
        "then the keys stay as they were installed before.");
    static constexpr const char* failedAlertTitle =
        QT_TRANSLATE_NOOP("MappingApplier", "Unable to apply keyboard mappings");
    static constexpr const char* failedAlertText = QT_TRANSLATE_NOOP(
        "MappingApplier",
        "Unable to apply keyboard mappings. Most often this is because you are trying to apply "
        "mappings to an external USB keyboard which is no longer connected. Try applying the "
        "mappings to all keyboards instead.");
};

// `value` for use inside a single-quoted shell word: each ' becomes '\'' (close the quote, an
// escaped quote, reopen), so the value cannot end the word. Values without ' are unchanged.
std::string insideSingleQuotes(const std::string& value);

}  // namespace keyvane
