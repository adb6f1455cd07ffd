#include "platform/CurlTransfer.h"

#include <linux/tcp.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <utility>

#include "platform/TrustStore.h"

namespace keyvane {
namespace {

using std::chrono::milliseconds;

constexpr const char* timedOutDescription = "The request timed out.";
const std::string tooLargeDescription =
    "The answer is larger than " + std::to_string(maxAnswerBytes) + " bytes.";
// As many as a browser follows before it gives up.
constexpr long redirectLimit = 16;

bool sameName(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

// The request's fields as libcurl takes them: one line per name, later values of a name joined
// to the first with ",".
curl_slist* headerLines(const UrlRequest& request) {
    std::vector<std::pair<std::string, std::string>> fields;
    for (const auto& [name, value] : request.headerFields) {
        if (name.empty())
            continue;
        const auto same = std::find_if(fields.begin(), fields.end(), [&](const auto& field) {
            return sameName(field.first, name);
        });
        if (same == fields.end())
            fields.emplace_back(name, value);
        else
            same->second += "," + value;
    }
    const bool expectGiven = std::any_of(fields.begin(), fields.end(), [](const auto& field) {
        return sameName(field.first, "Expect");
    });
    curl_slist* lines = nullptr;
    for (const auto& [name, value] : fields) {
        // "Name:" would remove one of libcurl's own fields instead; "Name;" sends an empty value.
        const std::string line = value.empty() ? name + ";" : name + ": " + value;
        lines = curl_slist_append(lines, line.c_str());
    }
    // libcurl would hold back a larger body until the server agrees to it; send it at once.
    if (request.method == "POST" && !expectGiven)
        lines = curl_slist_append(lines, "Expect:");
    return lines;
}

CURLcode prepareTls(CURL*, void* context, void*) {
    trust_store::trustIn(static_cast<SSL_CTX*>(context));
    return CURLE_OK;
}

}  // namespace

CurlTransfer::CurlTransfer(UrlRequest request, Clock::time_point calledAt)
    : request_(std::move(request)),
      calledAt_(calledAt),
      lastData_(calledAt),
      easy_(curl_easy_init()) {
    if (!easy_) {
        setupError_ = CURLE_FAILED_INIT;
        return;
    }
    headers_ = headerLines(request_);
    set(CURLOPT_URL, request_.url.c_str());
    // The query goes out as the caller composed it: no "/./" or "/../" folded away either.
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_PROTOCOLS_STR, "https");
    set(CURLOPT_REDIR_PROTOCOLS_STR, "https");
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, redirectLimit);
    set(CURLOPT_HTTPHEADER, headers_);
    // The multi handle that drives every exchange would keep connections, TLS sessions and name
    // look-ups for the next one; each exchange starts afresh and leaves nothing behind.
    set(CURLOPT_FRESH_CONNECT, 1L);
    set(CURLOPT_FORBID_REUSE, 1L);
    set(CURLOPT_SSL_SESSIONID_CACHE, 0L);
    set(CURLOPT_DNS_CACHE_TIMEOUT, 0L);
    if (request_.method == "POST") {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size()));
        set(CURLOPT_POSTFIELDS, request_.body.data());
    }
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    // No files of authorities per exchange: the trust store hands them over from memory.
    set(CURLOPT_CAINFO, nullptr);
    set(CURLOPT_CAPATH, nullptr);
    set(CURLOPT_SSL_CTX_FUNCTION, prepareTls);
    set(CURLOPT_OPENSOCKETFUNCTION, openSocket);
    set(CURLOPT_OPENSOCKETDATA, this);
    set(CURLOPT_CLOSESOCKETFUNCTION, closeSocket);
    set(CURLOPT_CLOSESOCKETDATA, this);
    set(CURLOPT_WRITEFUNCTION, receive);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_ERRORBUFFER, errorBuffer_);
    // Signals belong to the application; name look-ups run on libcurl's own thread.
    set(CURLOPT_NOSIGNAL, 1L);
}

CurlTransfer::~CurlTransfer() {
    if (easy_)
        curl_easy_cleanup(easy_);
    curl_slist_free_all(headers_);
}

template <typename Value>
void CurlTransfer::set(CURLoption option, Value value) {
    const CURLcode result = curl_easy_setopt(easy_, option, value);
    if (result != CURLE_OK && setupError_ == CURLE_OK)
        setupError_ = result;
}

std::optional<UrlOutcome> CurlTransfer::begin() {
    const auto totalLeft =
        std::chrono::ceil<milliseconds>(request_.totalLimit - (Clock::now() - calledAt_));
    if (totalLeft.count() <= 0)
        return failure(CURLE_OPERATION_TIMEDOUT, "the limit passed before the exchange began");
    set(CURLOPT_TIMEOUT_MS, static_cast<long>(totalLeft.count()));
    if (setupError_ != CURLE_OK)
        return failure(setupError_, "setting up the exchange");
    return std::nullopt;
}

std::optional<UrlOutcome> CurlTransfer::idleFailure(Clock::time_point now) {
    if (bytesArrived())
        lastData_ = now;
    if (now < idleDeadline())
        return std::nullopt;
    return failure(CURLE_OPERATION_TIMEDOUT,
                   "no data for " + std::to_string(request_.idleLimit.count()) + " ms");
}

UrlOutcome CurlTransfer::finish(CURLcode result) {
    if (tooLarge_)
        return failure(CURLE_FILESIZE_EXCEEDED, tooLargeDescription);
    if (result != CURLE_OK)
        return failure(result);
    UrlOutcome outcome;
    outcome.body = std::move(body_);
    return outcome;
}

// Every byte counts, those of the TLS handshake and of an unfinished status line too: the
// kernel's count of what arrived on each connection.
bool CurlTransfer::bytesArrived() {
    bool arrived = false;
    for (Socket& socket : sockets_) {
        tcp_info info{};
        socklen_t length = sizeof info;
        if (getsockopt(socket.fd, IPPROTO_TCP, TCP_INFO, &info, &length) != 0)
            continue;
        if (info.tcpi_bytes_received != socket.bytesReceived) {
            socket.bytesReceived = info.tcpi_bytes_received;
            arrived = true;
        }
    }
    return arrived;
}

std::size_t CurlTransfer::receive(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    const std::size_t length = size * count;
    if (length > maxAnswerBytes - transfer.body_.size()) {
        transfer.tooLarge_ = true;
        return 0;  // libcurl ends the exchange
    }
    transfer.body_.insert(transfer.body_.end(), data, data + length);
    return length;
}

UrlOutcome CurlTransfer::failure(CURLcode code, const std::string& details) const {
    const std::string reason = !details.empty() ? details : errorBuffer_;
    UrlOutcome outcome;
    outcome.failed = true;
    outcome.errorDescription = code == CURLE_OPERATION_TIMEDOUT ? timedOutDescription
                               : !reason.empty()                ? reason
                                                                : curl_easy_strerror(code);
    outcome.errorDetail =
        std::string(curl_easy_strerror(code)) + " (" + reason + ") for " + request_.url;
    return outcome;
}

// Sockets are made here so that a command the application runs meanwhile does not inherit them,
// and so that their byte counts can be read.
curl_socket_t CurlTransfer::openSocket(void* self, curlsocktype, curl_sockaddr* address) {
    const curl_socket_t fd =
        ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (fd != CURL_SOCKET_BAD)
        static_cast<CurlTransfer*>(self)->sockets_.push_back({fd, 0});
    return fd;
}

int CurlTransfer::closeSocket(void* self, curl_socket_t fd) {
    auto& sockets = static_cast<CurlTransfer*>(self)->sockets_;
    sockets.erase(std::remove_if(sockets.begin(), sockets.end(),
                                 [fd](const Socket& socket) { return socket.fd == fd; }),
                  sockets.end());
    return ::close(fd);
}

}  // namespace keyvane
