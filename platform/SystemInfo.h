#pragma once

#include <string>
#include <string_view>

namespace keyvane::system_info {

// The name the current user logged in with (from the password database, else $USER/$LOGNAME);
// empty when neither knows it.
std::string loginName();

// The computer's name as the user gave it: the pretty host name that the host name service keeps
// in /etc/machine-info, else the kernel's host name; empty when neither is set.
std::string computerName();
// The PRETTY_HOSTNAME value of a machine-info file's text (shell-style assignments, optionally
// quoted); empty when it has none.
std::string prettyHostNameFrom(std::string_view machineInfo);

// The running kernel's major and minor version, "6.1" for "6.1.0-13-amd64"; "0.0" when the release
// text does not start with them.
std::string osMajorMinor();
std::string majorMinorOf(std::string_view release);

}  // namespace keyvane::system_info
