#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace keyvane {

// One HTTP(S) exchange.
struct UrlRequest {
    // The whole URL, its query already percent-encoded. It goes out in its normalised form:
    // escapes of unreserved characters (letters, digits, "-", ".", "_", "~") are sent as the
    // characters themselves, which every server reads the same way.
    std::string url;
    std::string method = "GET";
    // Sent as it is; empty: no body.
    std::string body;
    // Added in order. A name given again (in any case) keeps the earlier values, joined with ",".
    // A field with an empty name is not sent: it would make the request malformed.
    std::vector<std::pair<std::string, std::string>> headerFields;
    // The exchange fails when no data moves for `idleLimit`, and in any case after `totalLimit`.
    std::chrono::milliseconds idleLimit{60000};
    std::chrono::milliseconds totalLimit{60000};
};

// How an exchange ended. An answer with an HTTP error status is an answer, not a failure.
struct UrlOutcome {
    bool failed = false;
    // For people: what went wrong, as the network layer words it.
    std::string errorDescription;
    // For the trace: the kind of error and the URL.
    std::string errorDetail;
    // The answer's body bytes; absent when there was no answer.
    std::optional<std::vector<unsigned char>> body;
};

// HTTPS exchanges, each in a session of its own that is torn down when the answer is in. Nothing
// is answered from a cache and nothing (cookies, connections, credentials) is kept between
// exchanges. Hosts under the reserved top-level name "invalid" fail at once, without a look-up.
// Certificates are always verified: against the system's authorities and, when the
// environment variable SSL_CERT_FILE names a PEM file, also against the certificates in it.
class UrlSession {
  public:
    // Callable from any thread; returns at once. `completion` runs exactly once, on the thread of
    // the application's event loop (not on the main queue, so a modal alert does not delay it).
    static void start(UrlRequest request, std::function<void(UrlOutcome)> completion);
};

}  // namespace keyvane
