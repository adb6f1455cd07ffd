#pragma once

#include <QtGlobal>
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

    static constexpr const char* nothingToMakeTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "Nothing to make permanent");
    static constexpr const char* nothingToMakeText = QT_TRANSLATE_NOOP(
        "PermanentKeymap",
        "Your list has no mappings. To remove a permanent keymap, choose File > Remove Permanent "
        "Keymap (or run keyvane --remove-permanent).");
    static constexpr const char* notInstalledTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "The permanent keymap needs Keyvane installed");
    // %1: the helper's path
    static constexpr const char* notInstalledText = QT_TRANSLATE_NOOP(
        "PermanentKeymap",
        "The helper that writes the permanent keymap, %1, is not there, as when Keyvane runs "
        "from its build folder. Install Keyvane (its Debian package, or cmake --install) and try "
        "again. Nothing was changed.");
    static constexpr const char* makeTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "Make your keys permanent?");
    // %1: "3 mappings", %2: "all keyboards" or "the keyboard 0x27e", %3: the hwdb file
    // The file closes the text on a line of its own, where a window has no reason to break its
    // name at a slash.
    static constexpr const char* makeText = QT_TRANSLATE_NOOP(
        "PermanentKeymap",
        "Your list of %1, for %2, is written to udev's hwdb and applies before anyone logs in: at "
        "the login screen, on the text console and for every user of this computer.\nFile: %3");
    // makeText's %2
    static constexpr const char* allKeyboardsText =
        QT_TRANSLATE_NOOP("PermanentKeymap", "all keyboards");
    static constexpr const char* oneKeyboardText =
        QT_TRANSLATE_NOOP("PermanentKeymap", "the keyboard %1");
    static constexpr const char* laterKeyboardsText = QT_TRANSLATE_NOOP(
        "PermanentKeymap",
        "A keyboard first plugged in later is not covered until you make the list permanent "
        "again.");
    // %1: the keys, "a, 1, Enter"
    static constexpr const char* passwordKeysText = QT_TRANSLATE_NOOP(
        "PermanentKeymap",
        "Careful: your list moves or disables keys you may type your password with: %1. The "
        "login screen and the text console will see those keys changed too, and so will the "
        "disk-encryption prompt where the initramfs carries udev's hwdb (Debian 12's does not).");
    // %1: the seconds
    static constexpr const char* countdownText = QT_TRANSLATE_NOOP(
        "PermanentKeymap",
        "Once the keys have changed, you have %1 seconds to keep them; otherwise they change "
        "back.");
    static constexpr const char* makeButton =
        QT_TRANSLATE_NOOP("PermanentKeymap", "Make Permanent");
    static constexpr const char* cancelButton = QT_TRANSLATE_NOOP("PermanentKeymap", "Cancel");
    static constexpr const char* removeTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "Remove the permanent keymap?");
    // %1: the hwdb file
    static constexpr const char* removeText = QT_TRANSLATE_NOOP(
        "PermanentKeymap",
        "The login screen, the console and every user get the keyboards' own keys again. Your "
        "list stays, and Keyvane installs it for you as before.\nFile to remove: %1");
    static constexpr const char* removeButton = QT_TRANSLATE_NOOP("PermanentKeymap", "Remove");

    static constexpr const char* keepTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "Keep these keys?");
    // %1: the seconds left
    static constexpr const char* keepText = QT_TRANSLATE_NOOP(
        "PermanentKeymap", "The keys change back in %1 seconds unless you keep them.");
    static constexpr const char* keepButton = QT_TRANSLATE_NOOP("PermanentKeymap", "Keep");
    static constexpr const char* changeBackButton =
        QT_TRANSLATE_NOOP("PermanentKeymap", "Change Back");
    // %1: the seconds
    static constexpr const char* keepPrompt = QT_TRANSLATE_NOOP(
        "PermanentKeymap",
        "Keep these keys? Press Enter within %1 seconds to keep them; otherwise they change back.");

    static constexpr const char* keptTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "Your keys are permanent");
    // %1: the hwdb file
    static constexpr const char* keptText = QT_TRANSLATE_NOOP(
        "PermanentKeymap", "Your list applies from the login screen on, for every user.\nFile: %1");
    static constexpr const char* revertedTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "The keys changed back");
    static constexpr const char* revertedToPreviousText =
        QT_TRANSLATE_NOOP("PermanentKeymap", "The previous permanent keymap is back.");
    static constexpr const char* revertedToNoneText =
        QT_TRANSLATE_NOOP("PermanentKeymap", "No permanent keymap is in place, as before.");
    static constexpr const char* removedTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "The permanent keymap is removed");
    static constexpr const char* removedText = QT_TRANSLATE_NOOP(
        "PermanentKeymap", "Before anyone logs in, the keyboards have their own keys again.");
    static constexpr const char* makeFailedTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "Your keys could not be made permanent");
    static constexpr const char* removeFailedTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "The permanent keymap could not be removed");
    // %1: the exit status
    static constexpr const char* silentFailureText =
        QT_TRANSLATE_NOOP("PermanentKeymap", "The helper ended with status %1.");
    static constexpr const char* dismissedTitle =
        QT_TRANSLATE_NOOP("PermanentKeymap", "Nothing was changed");
    static constexpr const char* dismissedText = QT_TRANSLATE_NOOP(
        "PermanentKeymap", "The password was not given, so the helper did not run.");
    static constexpr const char* notAuthorizedText = QT_TRANSLATE_NOOP(
        "PermanentKeymap",
        "You are not allowed to change the permanent keymap: it takes an administrator's "
        "password.");

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
