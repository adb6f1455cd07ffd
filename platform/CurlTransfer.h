#pragma once

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <vector>

#include "platform/UrlSession.h"

namespace keyvane {

// One exchange driven by libcurl on the thread that runs it, from the first byte to the last.
// libcurl's global state must be set up before the first one is made.
class CurlTransfer {
  public:
    using Clock = std::chrono::steady_clock;

    // The limits of `request` count from `calledAt`.
    CurlTransfer(UrlRequest request, Clock::time_point calledAt);
    ~CurlTransfer();
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    // Runs the exchange to its end. No outcome when `abandon` turned true first.
    std::optional<UrlOutcome> run(const std::atomic<bool>& abandon);
    // Callable from any thread: a `run` waiting for the network looks at `abandon` at once.
    void wake();

  private:
    struct Socket {
        curl_socket_t fd;
        std::uint64_t bytesReceived;
    };

    template <typename Value>
    void set(CURLoption option, Value value);
    bool bytesArrived();
    UrlOutcome answer();
    UrlOutcome failure(CURLcode code, const std::string& details = {}) const;
    static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address);
    static int closeSocket(void* self, curl_socket_t fd);

    UrlRequest request_;
    Clock::time_point calledAt_;
    CURL* easy_ = nullptr;
    CURLM* multi_ = nullptr;
    curl_slist* headers_ = nullptr;
    bool added_ = false;
    CURLcode setupError_ = CURLE_OK;
    std::vector<Socket> sockets_;
    std::vector<unsigned char> body_;
    char errorBuffer_[CURL_ERROR_SIZE] = {};
};

}  // namespace keyvane
