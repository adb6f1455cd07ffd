#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace keyvane {

// One HTTPS exchange.
struct UrlRequest {
    // The whole URL, its query already percent-encoded. It goes out byte for byte as it stands:
    // nothing in it is decoded, encoded again or normalised.
    std::string url;
    // "GET" or "POST".
    std::string method = "GET";
    // Sent as it is; empty: no body.
    std::string body;
    // Added in order. A name given again (in any case) keeps the earlier values, joined with ",".
    // A field with an empty name is not sent: it would make the request malformed.
    std::vector<std::pair<std::string, std::string>> headerFields;
    // Both measured from the call that starts the exchange: it fails when no byte has arrived for
    // `idleLimit` (the bytes of the answer's status line and header fields count as they come),
    // and in any case after `totalLimit`.
    std::chrono::milliseconds idleLimit{60000};
    std::chrono::milliseconds totalLimit{60000};
};

// The most bytes an answer's body may have; a larger answer is a failure that says so.
inline constexpr std::size_t maxAnswerBytes = 1024 * 1024;

// How an exchange ended. An answer with an HTTP error status is an answer, not a failure.
struct UrlOutcome {
    bool failed = false;
    // For people: what went wrong.
    std::string errorDescription;
    // For the trace: the kind of error, the details and the URL.
    std::string errorDetail;
    // The answer's body bytes; absent when there was no answer.
    std::optional<std::vector<unsigned char>> body;
};

// HTTPS exchanges through libcurl, each with a connection of its own that ends with it, all driven
// by one thread of their own. Redirects to other https URLs are followed; nothing is answered from
// a cache and nothing (cookies, connections, credentials) is kept between exchanges. Hosts under
// the reserved top-level name "invalid" fail at once, without a look-up. Certificates are always
// verified: against the system's authorities and, when the environment variable SSL_CERT_FILE names
// a PEM file, also against the certificates in it (read once per process, never on the caller's
// thread).
//
// When the application object goes away (or the process exits), exchanges still running are
// abandoned without an outcome and their thread joined, so that nothing of them outlives it.
class UrlSession {
  public:
    // Callable from any thread; returns at once. `completion` runs exactly once: on the exchanges'
    // thread, or, for a request that cannot even start (a URL that does not parse, a reserved
    // host), on the calling thread before `start` returns.
    static void start(UrlRequest request, std::function<void(UrlOutcome)> completion);

    // True for a host (or host:port) that can never be reached: "invalid" and names under it.
    static bool neverResolves(const std::string& hostAndPort);
};

}  // namespace keyvane
