#include "tests/support/HttpsTestServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <optional>
#include <stdexcept>

namespace keyvane::testing {
namespace {

// A throwaway self-signed certificate for 127.0.0.1, made with the openssl command in a temporary
// folder that lives as long as the process: trusting it as an authority is trusting the server.
struct TestCertificate {
    explicit TestCertificate(const QString& name) {
        if (!folder.isValid() ||
            QProcess::execute(
                "openssl",
                {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                 "-nodes", "-days", "2", "-subj", "/CN=" + name, "-addext",
                 "subjectAltName=IP:127.0.0.1,DNS:localhost", "-keyout",
                 folder.filePath("server.key"), "-out", folder.filePath("server.pem")}) != 0)
            throw std::runtime_error("no test certificate");
    }
    QByteArray file(const char* name) const { return folder.filePath(name).toLocal8Bit(); }

    QTemporaryDir folder;
};

const TestCertificate& certificate(HttpsTestServer::Certificate kind) {
    if (kind == HttpsTestServer::Certificate::Untrusted) {
        static const TestCertificate untrusted("Nobody Trusts This Server");
        return untrusted;
    }
    static const TestCertificate trusted("Keyvane Test Server");
    return trusted;
}

// The first whole request at the start of `received`, or nothing while it is incomplete.
std::optional<HttpsTestServer::Request> wholeRequest(const QByteArray& received) {
    const qsizetype headerEnd = received.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return std::nullopt;
    const QList<QByteArray> lines = received.left(headerEnd).split('\n');
    qsizetype end = headerEnd + 4;
    for (const QByteArray& line : lines) {
        if (line.toLower().startsWith("content-length:"))
            end += line.mid(15).trimmed().toLongLong();
    }
    if (received.size() < end)
        return std::nullopt;
    return HttpsTestServer::Request{received.left(end), lines[0].split(' ').value(1)};
}

// A socket bound to a free loopback port, listening or not.
int loopbackSocket(bool listening, int& port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        (listening && ::listen(fd, 64) != 0) ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no loopback port to spare");
    port = ntohs(address.sin_port);
    return fd;
}

}  // namespace

int unusedLoopbackPort() {
    int port = 0;
    ::close(loopbackSocket(false, port));
    return port;
}

int muteLoopbackPort() {
    int port = 0;
    loopbackSocket(true, port);
    return port;
}

HttpsTestServer::HttpsTestServer(Certificate kind) {
    // A client that goes away while the server writes must not end the test program.
    std::signal(SIGPIPE, SIG_IGN);
    context_ = SSL_CTX_new(TLS_server_method());
    if (!context_ ||
        SSL_CTX_use_certificate_file(context_, certificate(kind).file("server.pem"),
                                     SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(context_, certificate(kind).file("server.key"),
                                    SSL_FILETYPE_PEM) != 1)
        throw std::runtime_error("the test server's certificate did not load");
    listener_ = loopbackSocket(true, port_);
    thread_ = std::thread(&HttpsTestServer::serve, this);
}

HttpsTestServer::~HttpsTestServer() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        // Ends the read or write in progress, and the wait for the next connection.
        if (connection_ >= 0)
            ::shutdown(connection_, SHUT_RDWR);
        ::shutdown(listener_, SHUT_RDWR);
    }
    stopped_.notify_all();
    thread_.join();
    ::close(listener_);
    SSL_CTX_free(context_);
}

std::string HttpsTestServer::host() const {
    return "127.0.0.1:" + std::to_string(port_);
}

void HttpsTestServer::useForThisProcess() const {
    qputenv("KEYVANE_SERVICE_HOST", QByteArray::fromStdString(host()));
    qputenv("SSL_CERT_FILE", certificate(Certificate::Trusted).file("server.pem"));
}

void HttpsTestServer::answerWith(int status, QByteArray body, QByteArray location) {
    std::lock_guard lock(mutex_);
    status_ = status;
    body_ = std::move(body);
    location_ = std::move(location);
}

void HttpsTestServer::trickleHeader(std::chrono::milliseconds interval) {
    std::lock_guard lock(mutex_);
    status_ = 0;
    interval_ = interval;
}

std::vector<HttpsTestServer::Request> HttpsTestServer::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

bool HttpsTestServer::waitForRequests(std::size_t count, std::chrono::milliseconds limit) {
    return QTest::qWaitFor([&] { return requests().size() >= count; },
                           static_cast<int>(limit.count()));
}

void HttpsTestServer::serve() {
    for (;;) {
        const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        std::unique_lock lock(mutex_);
        if (stopping_) {
            if (connection >= 0)
                ::close(connection);
            return;
        }
        if (connection < 0)
            continue;
        connection_ = connection;
        lock.unlock();
        SSL* tls = SSL_new(context_);
        SSL_set_fd(tls, connection);
        if (SSL_accept(tls) == 1)
            respond(tls);
        SSL_free(tls);
        lock.lock();
        connection_ = -1;
        ::close(connection);
    }
}

void HttpsTestServer::respond(SSL* tls) {
    QByteArray received;
    std::optional<Request> request;
    while (!(request = wholeRequest(received))) {
        char buffer[4096];
        const int count = SSL_read(tls, buffer, sizeof buffer);
        if (count <= 0)
            return;
        received.append(buffer, count);
    }
    std::unique_lock lock(mutex_);
    requests_.push_back(std::move(*request));
    if (status_ != 0) {
        const QByteArray answer =
            "HTTP/1.1 " + QByteArray::number(status_) + " Status\r\n" +
            (location_.isEmpty() ? "" : "Location: " + location_ + "\r\n") +
            "Content-Type: text/plain\r\nContent-Length: " + QByteArray::number(body_.size()) +
            "\r\nConnection: close\r\n\r\n" + body_;
        lock.unlock();
        if (SSL_write(tls, answer.data(), static_cast<int>(answer.size())) > 0)
            SSL_shutdown(tls);
        return;
    }
    // A status line, then a header field that never ends.
    const QByteArray start = "HTTP/1.1 200 OK\r\nX-Slow: ";
    for (qsizetype sent = 0; !stopped_.wait_for(lock, interval_, [this] { return stopping_; });
         ++sent) {
        const char byte = sent < start.size() ? start[sent] : 'x';
        lock.unlock();
        if (SSL_write(tls, &byte, 1) != 1)
            return;
        lock.lock();
    }
}

}  // namespace keyvane::testing
