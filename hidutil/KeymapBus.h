#pragma once

// The keymap service on the system bus, as hidutil calls it and keyvane-keymapd answers. Every
// method answers (i status, s output, s notes): what hidutil would have returned, printed on
// standard output and written on standard error for the same command line.
namespace keyvane::keymapbus {

inline constexpr const char* name = "app.keyvane.Keymap1";
inline constexpr const char* path = "/app/keyvane/Keymap1";
inline constexpr const char* interface = "app.keyvane.Keymap1";

// SetMapping(s property, s matching): property --set, with --matching unless matching is empty.
// It and Clear answer a fourth string after the three: the status JSON hidutil left for the
// keyboards it set (empty when the change failed), for the client to leave where the user reads it.
inline constexpr const char* setMapping = "SetMapping";
// Clear(): property --set with an empty list, on every keyboard.
inline constexpr const char* clear = "Clear";
// Status(b json): status, as text or JSON.
inline constexpr const char* status = "Status";
// List(b keyboardsOnly, s matching): list, with -m keyboard or --matching.
inline constexpr const char* list = "List";
// GetMapping(s matching): property --get UserKeyMapping, with --matching unless empty.
inline constexpr const char* getMapping = "GetMapping";

// Adopt(a(ss) records): takes over records of original keys that hidutil kept in-process in this
// boot (file name, content), so that switching to the service never strands a change made before.
inline constexpr const char* adopt = "Adopt";

// Changing keymaps is asked of polkit, with the caller's bus name as the subject.
inline constexpr const char* changeAction = "app.keyvane.keymap.change";
inline constexpr const char* notAuthorizedError = "app.keyvane.Keymap1.Error.NotAuthorized";

// With this set in its environment, hidutil never hands a command to the service.
inline constexpr const char* inProcessVariable = "KEYVANE_HIDUTIL_IN_PROCESS";

}  // namespace keyvane::keymapbus
