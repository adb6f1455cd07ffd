#include "platform/SystemInfo.h"

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

namespace keyvane::system_info {
namespace {

std::string trimmed(std::string_view text) {
    const auto isSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return std::string(text);
}

// One value of an environment-style file: "quoted \"text\"", 'single', or bare.
std::string unquoted(std::string_view value) {
    std::string text = trimmed(value);
    if (text.size() >= 2 && text.front() == '\'' && text.back() == '\'')
        return text.substr(1, text.size() - 2);
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        std::string result;
        for (std::size_t i = 1; i + 1 < text.size(); ++i) {
            if (text[i] == '\\' && i + 2 < text.size())
                ++i;
            result += text[i];
        }
        return result;
    }
    return text;
}

}  // namespace

std::string loginName() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
        found->pw_name)
        return found->pw_name;
    for (const char* variable : {"USER", "LOGNAME"}) {
        if (const char* value = std::getenv(variable))
            return value;
    }
    return {};
}

std::string prettyHostNameFrom(std::string_view machineInfo) {
    std::istringstream lines{std::string(machineInfo)};
    std::string line;
    std::string result;
    while (std::getline(lines, line)) {
        const std::string text = trimmed(line);
        constexpr std::string_view key = "PRETTY_HOSTNAME=";
        if (text.starts_with(key))
            result = unquoted(std::string_view(text).substr(key.size()));
    }
    return result;
}

std::string computerName() {
    std::ifstream file("/etc/machine-info");
    if (file) {
        std::ostringstream text;
        text << file.rdbuf();
        std::string pretty = prettyHostNameFrom(text.str());
        if (!pretty.empty())
            return pretty;
    }
    char name[256] = {};
    if (gethostname(name, sizeof name - 1) == 0)
        return name;
    return {};
}

std::string majorMinorOf(std::string_view release) {
    std::size_t i = 0;
    const auto number = [&] {
        const std::size_t start = i;
        while (i < release.size() && std::isdigit(static_cast<unsigned char>(release[i])))
            ++i;
        return std::string(release.substr(start, i - start));
    };
    const std::string major = number();
    if (major.empty() || i >= release.size() || release[i] != '.')
        return "0.0";
    ++i;
    const std::string minor = number();
    if (minor.empty())
        return "0.0";
    // Numbers in decimal without leading zeros, like any other formatted integer.
    const auto plain = [](const std::string& digits) {
        const std::size_t first = digits.find_first_not_of('0');
        return first == std::string::npos ? std::string("0") : digits.substr(first);
    };
    return plain(major) + "." + plain(minor);
}

std::string osMajorMinor() {
    utsname names{};
    if (uname(&names) != 0)
        return "0.0";
    return majorMinorOf(names.release);
}

}  // namespace keyvane::system_info
