#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/MappingStore.h"

class QProcess;

namespace keyvane {

// Where the permanent keymap's helper is and how it is started: through pkexec, which asks polkit
// (the desktop's password dialog, or a text prompt in a terminal), or directly by a process that
// already runs as root. The application names the installed helper.
struct PermanentHelper {
    std::string path;
    bool throughPkexec = true;
};

// Makes the list permanent, or removes the permanent keymap, by running the root helper
// keyvane-permanent, which writes udev's hwdb so that the keys hold at the login screen, on the
// console and for every user. The helper runs asynchronously; what it says arrives through the
// callbacks on the thread's event loop.
//
// Before "make", Keyvane's own session list is cleared, so that the helper reads the keyboards'
// keys as they are without Keyvane; once the helper has ended, whatever the outcome, the session
// list is installed again.
class PermanentKeymap {
  public:
    enum class Outcome {
        Kept,           // made permanent, and the user kept it
        Reverted,       // made, then put back: kept was not answered in time, or put back asked
        Removed,        // the permanent keymap is gone (or there was none)
        Failed,         // the helper said why, in `message`
        Dismissed,      // the password dialog was closed
        NotAuthorized,  // polkit refused
        NotInstalled,   // no helper at its path: nothing ran
    };
    struct Result {
        Outcome outcome = Outcome::Failed;
        std::string message;  // the helper's standard error for Failed; its path for NotInstalled
        bool hadPermanentKeymap = false;  // before the helper ran
    };
    struct Callbacks {
        // The keys changed; answer with keep() or putBack() (the helper gives up by itself after
        // its countdown).
        std::function<void()> changed;
        std::function<void(const Result&)> finished;
        // The helper's standard error as it comes, for a terminal to show at once.
        std::function<void(const std::string&)> errorOutput;
    };

    PermanentKeymap(PermanentHelper helper, Callbacks callbacks);
    ~PermanentKeymap();
    PermanentKeymap(const PermanentKeymap&) = delete;
    PermanentKeymap& operator=(const PermanentKeymap&) = delete;

    const PermanentHelper& helper() const { return helper_; }
    bool installed() const;
    bool running() const;

    // Makes `keyMappings` permanent for the stored keyboard. Without the helper, `finished` runs
    // with NotInstalled before this returns, and nothing is cleared.
    void make();
    void remove();
    void keep();
    void putBack();

    // What the helper is asked: the verb, and for "make" the texts hidutil gets for the stored
    // list and keyboard.
    static std::vector<std::string> makeArguments();
    static std::vector<std::string> removeArguments();

    // The original keys of `mappings` that people type passwords with (letters, digits, Enter,
    // Backspace, the Shifts), by the key table's names, each once, in the list's order: at the
    // login screen and the disk-encryption prompt they would be moved or disabled too.
    static std::vector<std::string> passwordKeys(const std::vector<KeyMapping>& mappings);

    // What the user reads, in the window and in the terminal alike.
    struct Message {
        std::string title;
        std::string text;
    };
    // The explanation before "make": where the list goes, what a keyboard plugged in later gets,
    // the password keys it changes.
    static Message makeQuestion();
    static Message removeQuestion();
    static Message outcomeMessage(const Result& result, bool removing);

    static constexpr const char* nothingToMakeTitle = "Nothing to make permanent";
    static constexpr const char* nothingToMakeText =
        "Your list has no mappings. To remove a permanent keymap, choose File > Remove Permanent "
        "Keymap (or run keyvane --remove-permanent).";
    static constexpr const char* notInstalledTitle = "The permanent keymap needs Keyvane installed";
    // %1: the helper's path
    static constexpr const char* notInstalledText =
        "The helper that writes the permanent keymap, %1, is not there, as when Keyvane runs "
        "from its build folder. Install Keyvane (its Debian package, or cmake --install) and try "
        "again. Nothing was changed.";
    static constexpr const char* makeTitle = "Make your keys permanent?";
    // %1: "3 mappings", %2: "all keyboards" or "the keyboard 0x27e", %3: the hwdb file
    // The file closes the text on a line of its own, where a window has no reason to break its
    // name at a slash.
    static constexpr const char* makeText =
        "Your list of %1, for %2, is written to udev's hwdb and applies before anyone logs in: at "
        "the login screen, on the text console and for every user of this computer.\nFile: %3";
    static constexpr const char* laterKeyboardsText =
        "A keyboard first plugged in later is not covered until you make the list permanent "
        "again.";
    // %1: the keys, "a, 1, Enter"
    static constexpr const char* passwordKeysText =
        "Careful: your list moves or disables keys you may type your password with: %1. The "
        "login screen and the text console will see those keys changed too, and so will the "
        "disk-encryption prompt where the initramfs carries udev's hwdb (Debian 12's does not).";
    // %1: the seconds
    static constexpr const char* countdownText =
        "Once the keys have changed, you have %1 seconds to keep them; otherwise they change "
        "back.";
    static constexpr const char* makeButton = "Make Permanent";
    static constexpr const char* cancelButton = "Cancel";
    static constexpr const char* removeTitle = "Remove the permanent keymap?";
    // %1: the hwdb file
    static constexpr const char* removeText =
        "The login screen, the console and every user get the keyboards' own keys again. Your "
        "list stays, and Keyvane installs it for you as before.\nFile to remove: %1";
    static constexpr const char* removeButton = "Remove";

    static constexpr const char* keepTitle = "Keep these keys?";
    // %1: the seconds left
    static constexpr const char* keepText =
        "The keys change back in %1 seconds unless you keep them.";
    static constexpr const char* keepButton = "Keep";
    static constexpr const char* changeBackButton = "Change Back";
    // %1: the seconds
    static constexpr const char* keepPrompt =
        "Keep these keys? Press Enter within %1 seconds to keep them; otherwise they change back.";

    static constexpr const char* keptTitle = "Your keys are permanent";
    // %1: the hwdb file
    static constexpr const char* keptText =
        "Your list applies from the login screen on, for every user.\nFile: %1";
    static constexpr const char* revertedTitle = "The keys changed back";
    static constexpr const char* revertedToPreviousText = "The previous permanent keymap is back.";
    static constexpr const char* revertedToNoneText = "No permanent keymap is in place, as before.";
    static constexpr const char* removedTitle = "The permanent keymap is removed";
    static constexpr const char* removedText =
        "Before anyone logs in, the keyboards have their own keys again.";
    static constexpr const char* makeFailedTitle = "Your keys could not be made permanent";
    static constexpr const char* removeFailedTitle = "The permanent keymap could not be removed";
    // %1: the exit status
    static constexpr const char* silentFailureText = "The helper ended with status %1.";
    static constexpr const char* dismissedTitle = "Nothing was changed";
    static constexpr const char* dismissedText =
        "The password was not given, so the helper did not run.";
    static constexpr const char* notAuthorizedText =
        "You are not allowed to change the permanent keymap: it takes an administrator's "
        "password.";

  private:
    void run(const std::string& verb, const std::vector<std::string>& arguments);
    void readOutput();
    // Standard error, kept for the outcome and passed on as it comes.
    void heard(const std::string& errors);
    void ended(int exitCode, bool crashed);

    PermanentHelper helper_;
    Callbacks callbacks_;
    std::unique_ptr<QProcess> process_;
    std::string verb_;
    std::string output_;  // standard output not yet ended by a newline
    std::string errors_;
    bool hadPermanentKeymap_ = false;
};

}  // namespace keyvane
