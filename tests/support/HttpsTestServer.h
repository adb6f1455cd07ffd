#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslServer>
#include <QTemporaryDir>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

class QSslSocket;
class QTimer;

namespace keyvane::testing {

// A throwaway certificate authority and a server certificate it signed for 127.0.0.1, made with
// the openssl command in a temporary folder that lives as long as the object.
class TestAuthority {
  public:
    TestAuthority();
    // The authority's certificate as a PEM file, for SSL_CERT_FILE.
    QString caFile() const;
    const QSslCertificate& serverCertificate() const { return serverCertificate_; }
    const QSslKey& serverKey() const { return serverKey_; }

  private:
    QTemporaryDir folder_;
    QSslCertificate serverCertificate_;
    QSslKey serverKey_;
};

// An HTTPS server on the loopback interface, in this thread's event loop, for the tests of the
// remote services. It records every request and answers as it is told.
class HttpsTestServer {
  public:
    struct Request {
        QByteArray method;
        QByteArray target;  // path and query, exactly as sent
        QList<QPair<QByteArray, QByteArray>> headers;
        QByteArray body;

        // The values of a header field (any case), in order.
        QList<QByteArray> headerValues(const QByteArray& name) const;
    };

    HttpsTestServer();
    ~HttpsTestServer();
    HttpsTestServer(const HttpsTestServer&) = delete;
    HttpsTestServer& operator=(const HttpsTestServer&) = delete;

    // "127.0.0.1:<port>", the value for KEYVANE_SERVICE_HOST.
    std::string host() const;
    QString caFile() const { return authority_.caFile(); }
    // Points KEYVANE_SERVICE_HOST at this server and makes SSL_CERT_FILE trust its authority.
    void useForThisProcess() const;

    // What to do with the next requests (the default: status 200 with an empty body).
    void answerWith(int status, QByteArray body);
    // Read the request, then send nothing and keep the connection open.
    void neverAnswer();
    // Send the status line and headers of an endless body, then one byte every `interval`.
    void trickle(std::chrono::milliseconds interval);

    const std::vector<Request>& requests() const { return requests_; }
    // Drives the event loop until `count` requests have arrived (at most `limit`).
    bool waitForRequests(std::size_t count,
                         std::chrono::milliseconds limit = std::chrono::seconds(20));
    // Connections whose TLS handshake failed (a client that refused the certificate, say).
    int failedHandshakes() const { return failedHandshakes_; }

  private:
    enum class Mode { Answer, Silent, Trickle };
    void serve(QSslSocket* socket);
    void respond(QSslSocket* socket);

    TestAuthority authority_;
    QSslServer server_;
    Mode mode_ = Mode::Answer;
    int status_ = 200;
    QByteArray body_;
    std::chrono::milliseconds trickleInterval_{1000};
    std::vector<Request> requests_;
    std::vector<std::unique_ptr<QTimer>> tricklers_;
    int failedHandshakes_ = 0;
};

}  // namespace keyvane::testing
