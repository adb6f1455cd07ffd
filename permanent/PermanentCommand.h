#pragma once

// How Keyvane asks keyvane-permanent, the root helper that writes the permanent keymap, to act, and
// how the helper answers. Shared by both sides; the helper trusts nothing else from its caller.
//
//   keyvane-permanent make PROPERTY [--matching MATCHING]
//   keyvane-permanent remove
//
// PROPERTY and MATCHING are the texts of "hidutil property --set ... --matching ...". The helper
// writes its human-readable messages on standard error and only the lines below on standard output.
// After "make" has changed the keys it writes `changedLine` and waits `countdownSeconds` for
// `keepLine` on standard input; anything else, the end of the input or the time running out puts
// the previous permanent keymap (or none) back.

namespace keyvane::permanent {

// Where an installation puts the helper, from the folder of the keyvane program: pkexec runs
// nothing else for the action, whose exec.path the installation writes for its own prefix.
inline constexpr const char* helperFromProgramFolder =
    "../" KEYVANE_LIBEXECDIR "/keyvane-permanent";
inline constexpr const char* hwdbFile = "/etc/udev/hwdb.d/70-keyvane.hwdb";
// Run through pkexec, which asks polkit for this action; its exec.path names the helper.
inline constexpr const char* pkexecProgram = "pkexec";
inline constexpr const char* polkitAction = "app.keyvane.keymap.make-permanent";

inline constexpr const char* makeVerb = "make";
inline constexpr const char* removeVerb = "remove";
inline constexpr const char* matchingOption = "--matching";

inline constexpr const char* changedLine = "changed";
inline constexpr const char* keepLine = "keep";
inline constexpr const char* keptLine = "kept";
inline constexpr const char* revertedLine = "reverted";
inline constexpr const char* removedLine = "removed";
inline constexpr int countdownSeconds = 20;

inline constexpr int exitKept = 0;    // made and kept, or removed
inline constexpr int exitFailed = 1;  // nothing changed (or it was all put back)
inline constexpr int exitUsage = 2;
inline constexpr int exitReverted = 3;  // made, then put back for want of an answer
// pkexec's own: the user dismissed the password dialog, or polkit refused.
inline constexpr int exitDismissed = 126;
inline constexpr int exitNotAuthorized = 127;

}  // namespace keyvane::permanent
