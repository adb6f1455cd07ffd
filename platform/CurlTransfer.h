#pragma once

#include <curl/curl.h>

#include <chrono>
#include <optional>
#include <vector>

#include "platform/UrlSession.h"

namespace keyvane {

// One exchange as libcurl's easy handle, with the limits of its request, for a multi handle to
// drive. libcurl's global state must be set up before the first one is made.
class CurlTransfer {
  public:
    using Clock = std::chrono::steady_clock;

    // The limits of `request` count from `calledAt`.
    CurlTransfer(UrlRequest request, Clock::time_point calledAt);
    ~CurlTransfer();
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    // Readies the handle for a multi handle: nothing when it may be added, otherwise the failure
    // that ends the exchange before it begins.
    std::optional<UrlOutcome> begin();
    CURL* easy() const { return easy_; }
    // The failure once no byte has arrived for the idle limit; `now` is the time of the look.
    std::optional<UrlOutcome> idleFailure(Clock::time_point now);
    // When the idle limit runs out unless a byte arrives first.
    Clock::time_point idleDeadline() const { return lastData_ + request_.idleLimit; }
    // The outcome, once libcurl has finished the exchange with `result`.
    UrlOutcome finish(CURLcode result);
    UrlOutcome failure(CURLcode code, const std::string& details = {}) const;

  private:
    struct Socket {
        curl_socket_t fd;
        std::uint64_t bytesReceived;
    };

    template <typename Value>
    void set(CURLoption option, Value value);
    bool bytesArrived();
    static std::size_t receive(char* data, std::size_t size, std::size_t count, void* self);
    static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address);
    static int closeSocket(void* self, curl_socket_t fd);

    UrlRequest request_;
    Clock::time_point calledAt_;
    Clock::time_point lastData_;
    CURL* easy_ = nullptr;
    curl_slist* headers_ = nullptr;
    CURLcode setupError_ = CURLE_OK;
    bool tooLarge_ = false;
    std::vector<Socket> sockets_;
    std::vector<unsigned char> body_;
    char errorBuffer_[CURL_ERROR_SIZE] = {};
};

}  // namespace keyvane
