#pragma once

#include <QByteArray>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

typedef struct ssl_ctx_st SSL_CTX;
typedef struct ssl_st SSL;

namespace keyvane::testing {

// An HTTPS server on the loopback interface, on a thread of its own, for the tests of the remote
// services. It serves one connection at a time, records every request with its bytes exactly as
// they arrived, and answers as it is told. Its certificate for 127.0.0.1 is a self-signed
// throwaway made once per test process; the trusted one is named by SSL_CERT_FILE once
// `useForThisProcess` has run (the application reads that file once per process), the untrusted
// one never.
class HttpsTestServer {
  public:
    struct Request {
        QByteArray raw;     // everything the client sent for this request, as it arrived
        QByteArray target;  // path and query
    };

    enum class Certificate { Trusted, Untrusted };

    explicit HttpsTestServer(Certificate kind = Certificate::Trusted);
    ~HttpsTestServer();
    HttpsTestServer(const HttpsTestServer&) = delete;
    HttpsTestServer& operator=(const HttpsTestServer&) = delete;

    // "127.0.0.1:<port>", the value for KEYVANE_SERVICE_HOST.
    std::string host() const;
    // Points KEYVANE_SERVICE_HOST at this server and makes SSL_CERT_FILE name its certificate.
    void useForThisProcess() const;

    // What to do with the next requests (the default: status 200 with an empty body), with a
    // Location field when one is given.
    void answerWith(int status, QByteArray body, QByteArray location = {});
    // Read the request, then send an answer's status line and header one byte every `interval`,
    // the first after one interval, never finishing it.
    void trickleHeader(std::chrono::milliseconds interval);
    // Read the request, then send nothing and keep the connection open.
    void neverAnswer() { trickleHeader(std::chrono::hours(24)); }

    std::vector<Request> requests() const;
    // Drives the event loop until `count` requests have arrived (at most `limit`).
    bool waitForRequests(std::size_t count,
                         std::chrono::milliseconds limit = std::chrono::seconds(20));

  private:
    void serve();
    void respond(SSL* tls);

    SSL_CTX* context_ = nullptr;
    int listener_ = -1;
    int port_ = 0;
    mutable std::mutex mutex_;
    std::condition_variable stopped_;
    bool stopping_ = false;
    int connection_ = -1;  // the one being served
    int status_ = 200;     // 0: trickle the header
    QByteArray body_;
    QByteArray location_;
    std::chrono::milliseconds interval_{};
    std::vector<Request> requests_;
    std::thread thread_;
};

// A loopback port on which nobody listens, for a connection that is refused.
int unusedLoopbackPort();
// A loopback port whose connections the kernel accepts into a backlog that is never served, until
// the program ends.
int muteLoopbackPort();

}  // namespace keyvane::testing
