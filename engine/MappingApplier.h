#pragma once

#include <functional>
#include <string>

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
// are rebuilt from the list and never patched.
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
        bool installed() const;
    };

    // Installs and reports its own problems (alerts, event log); true when it worked.
    static bool applyMappings();
    // Installs without reporting anything, for callers that tell the user themselves.
    static Installation install();
    // Runs after every installation command (not when the list holds nothing to install).
    static void setAfterInstall(std::function<void()> hook);

    // The command that installs the list, or the empty string when no record is usable.
    static std::string composeCommand();

    static constexpr const char* clearingCommand =
        R"(hidutil property --set '{"UserKeyMapping" : []}')";
    static constexpr const char* allKeyboardsTemplate =
        R"(hidutil property --set '{"UserKeyMapping" : [$HID]}')";
    static constexpr const char* oneKeyboardTemplateHead =
        R"(hidutil property --set '{"UserKeyMapping" : [$HID]}' --matching '{"ProductID": )";
    static constexpr const char* oneKeyboardTemplateTail = "}'";
    static constexpr const char* placeholder = "$HID";
    static constexpr const char* entryHead = R"({"HIDKeyboardModifierMappingSrc" : 0x7000000)";
    static constexpr const char* entryMiddle = R"(, "HIDKeyboardModifierMappingDst" : 0x7000000)";
    static constexpr const char* entryTail = "},";
    static constexpr const char* blankSourceMarker = ": 0x7000000,";
    static constexpr const char* blankDestinationMarker = ": 0x7000000}";
    static constexpr const char* successMarker = "UserKeyMapping";

    static constexpr const char* blankIdError =
        "error applying mapping - originalId or remappedId was blank\n\n";
    static constexpr const char* blankIdAlertTitle = "Error applying mapping";
    static constexpr const char* blankIdAlertText =
        "OriginalId or remappedId was blank, please remove all mappings and re-add them.";
    static constexpr const char* failedAlertTitle = "Unable to apply keyboard mappings";
    static constexpr const char* failedAlertText =
        "Unable to apply keyboard mappings. Most often this is because you are trying to apply "
        "mappings to an external USB keyboard which is no longer connected. Try applying the "
        "mappings to all keyboards instead.";
};

// `value` for use inside a single-quoted shell word: each ' becomes '\'' (close the quote, an
// escaped quote, reopen), so the value cannot end the word. Values without ' are unchanged.
std::string insideSingleQuotes(const std::string& value);

}  // namespace keyvane
