#pragma once

#include <functional>
#include <string>
#include <vector>

namespace keyvane {

// The remote services of the application, all static: requests to the maker's web service, the
// event and error reports, and the configuration with the update check. Nothing goes out until a
// web service host has been configured (see ServiceTexts.h).
class SCL {
  public:
    SCL() = delete;

    // Sends one HTTPS request and returns at once. Exactly one outcome follows, on the main queue:
    // `onFailure` with a description of what went wrong, or `onText` with the answer's body as text
    // (bytes above 0x7F read as Latin-1) followed by `onData` with the same body's bytes. An HTTP
    // error status is an answer; a body larger than 1 MiB is a failure. A non-empty `body` makes it
    // a POST. `headerLines` holds lines "Name: value" separated by line feeds. 15 s without a byte
    // arriving, or 30 s in all, both counted from this call, make it fail. Callable from any
    // thread; any callback may be empty.
    static void sendRequest(const std::string& url, std::function<void(const std::string&)> onText,
                            std::function<void(const std::string&)> onFailure,
                            const std::string& body, const std::string& headerLines,
                            std::function<void(const std::vector<unsigned char>&)> onData);

    // Fire-and-forget reports to the web service; their outcome is never seen. While the host is
    // the built-in placeholder that never resolves, they do nothing at all.
    static void logEvent(const std::string& name, const std::string& value,
                         const std::string& notes);
    static void logError(const std::string& message);

    // Asks the web service for the configuration and runs `checkForUpdate` once on the main queue
    // afterwards, whether or not an answer came. Returns at once.
    static void fetchConfig();
    // Takes over the configuration from the body of an answer when it decodes to exactly four
    // lines, the first being "config"; otherwise changes nothing. Main queue only.
    static void applyConfig(const std::string& text);
    // Compares the installed version with `remoteConfig`; may show an alert, open the download
    // page and, when an update is required, end the application. Main queue only.
    static void checkForUpdate();

    // The user and computer names, reduced to letters, digits, spaces, "-" and "_": "user - Host".
    // Computed once, on first use, by whichever thread asks first.
    static const std::string& userIdentity();
    // The operating system's major and minor version, "6.1". Computed once.
    static const std::string& osVersion();
    // The installed version of the application, "1.2.0". Computed once.
    static const std::string& appVersion();

    // Keeps the user-perceived characters that are ASCII letters, digits, space, "-" or "_".
    static std::string sanitizeName(const std::string& text);
    // Escapes every byte of every character that is not a letter, mark or number of any script as
    // %XX (upper-case hex); invalid UTF-8 bytes are escaped one by one.
    static std::string percentEncode(const std::string& text);
};

}  // namespace keyvane
