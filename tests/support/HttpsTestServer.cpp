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
class TestCertificate {
  public:
    static const TestCertificate& trusted() {
        static const TestCertificate certificate("Keyvane Test Server");
        return certificate;
    }
    static const TestCertificate& untrusted() {
        static const TestCertificate certificate("Nobody Trusts This Server");
        return certificate;
    }

    QString certificateFile() const { return folder_.filePath("server.pem"); }
    QString keyFile() const { return folder_.filePath("server.key"); }

  private:
    explicit TestCertificate(const QString& name) {
        QProcess openssl;
        openssl.setWorkingDirectory(folder_.path());
        openssl.setProcessChannelMode(QProcess::MergedChannels);
        openssl.start("openssl",
                      {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                       "-nodes", "-days", "2", "-subj", "/CN=" + name, "-addext",
                       "subjectAltName=IP:127.0.0.1,DNS:localhost", "-keyout", "server.key", "-out",
                       "server.pem"});
        if (!folder_.isValid() || !openssl.waitForFinished(30000) ||
            openssl.exitStatus() != QProcess::NormalExit || openssl.exitCode() != 0)
            throw std::runtime_error("no test certificate: " + openssl.readAll().toStdString());
    }

    QTemporaryDir folder_;
};

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

QByteArray HttpsTestServer::Request::requestLine() const {
    return raw.left(raw.indexOf("\r\n"));
}

HttpsTestServer::HttpsTestServer(Certificate kind) {
    // A client that goes away while the server writes must not end the test program.
    std::signal(SIGPIPE, SIG_IGN);
    const TestCertificate& certificate =
        kind == Certificate::Trusted ? TestCertificate::trusted() : TestCertificate::untrusted();
    context_ = SSL_CTX_new(TLS_server_method());
    if (!context_ ||
        SSL_CTX_use_certificate_file(context_, certificate.certificateFile().toLocal8Bit(),
                                     SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(context_, certificate.keyFile().toLocal8Bit(),
                                    SSL_FILETYPE_PEM) != 1)
        throw std::runtime_error("the test server's certificate did not load");

    listener_ = loopbackSocket(true, port_);
    acceptor_ = std::thread(&HttpsTestServer::acceptConnections, this);
}

HttpsTestServer::~HttpsTestServer() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        // Ends every read and write in progress, and the wait for the next connection.
        for (const int connection : connections_)
            ::shutdown(connection, SHUT_RDWR);
        ::shutdown(listener_, SHUT_RDWR);
    }
    stopped_.notify_all();
    acceptor_.join();
    for (std::thread& thread : threads_)
        thread.join();
    ::close(listener_);
    SSL_CTX_free(context_);
}

std::string HttpsTestServer::host() const {
    return "127.0.0.1:" + std::to_string(port_);
}

void HttpsTestServer::useForThisProcess() const {
    qputenv("KEYVANE_SERVICE_HOST", QByteArray::fromStdString(host()));
    qputenv("SSL_CERT_FILE", TestCertificate::trusted().certificateFile().toLocal8Bit());
}

void HttpsTestServer::answerWith(int status, QByteArray body) {
    std::lock_guard lock(mutex_);
    reply_ = {Mode::Answer, status, std::move(body), {}};
}

void HttpsTestServer::neverAnswer() {
    std::lock_guard lock(mutex_);
    reply_ = {Mode::Silent, 0, {}, {}};
}

void HttpsTestServer::trickleHeader(std::chrono::milliseconds interval) {
    std::lock_guard lock(mutex_);
    reply_ = {Mode::TrickleHeader, 200, {}, interval};
}

std::vector<HttpsTestServer::Request> HttpsTestServer::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

bool HttpsTestServer::waitForRequests(std::size_t count, std::chrono::milliseconds limit) {
    return QTest::qWaitFor([&] { return requests().size() >= count; },
                           static_cast<int>(limit.count()));
}

void HttpsTestServer::acceptConnections() {
    for (;;) {
        const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        std::lock_guard lock(mutex_);
        if (stopping_) {
            if (connection >= 0)
                ::close(connection);
            return;
        }
        if (connection < 0)
            continue;
        connections_.push_back(connection);
        threads_.emplace_back(&HttpsTestServer::serve, this, connection);
    }
}

void HttpsTestServer::serve(int connection) {
    SSL* tls = SSL_new(context_);
    SSL_set_fd(tls, connection);
    if (SSL_accept(tls) == 1) {
        QByteArray received;
        char buffer[4096];
        for (;;) {
            if (std::optional<Request> request = wholeRequest(received)) {
                Reply reply;
                {
                    std::lock_guard lock(mutex_);
                    requests_.push_back(std::move(*request));
                    reply = reply_;
                }
                respond(tls, reply);
                break;
            }
            const int count = SSL_read(tls, buffer, sizeof buffer);
            if (count <= 0)
                break;
            received.append(buffer, count);
        }
    }
    SSL_free(tls);
    {
        std::lock_guard lock(mutex_);
        std::erase(connections_, connection);
    }
    ::close(connection);
}

void HttpsTestServer::respond(SSL* tls, const Reply& reply) {
    switch (reply.mode) {
        case Mode::Answer: {
            const QByteArray answer = "HTTP/1.1 " + QByteArray::number(reply.status) +
                                      " Status\r\nContent-Type: text/plain\r\nContent-Length: " +
                                      QByteArray::number(reply.body.size()) +
                                      "\r\nConnection: close\r\n\r\n" + reply.body;
            if (SSL_write(tls, answer.data(), static_cast<int>(answer.size())) > 0)
                SSL_shutdown(tls);
            return;
        }
        case Mode::Silent:
            pause(std::chrono::milliseconds::max());
            return;
        case Mode::TrickleHeader: {
            // A status line, then a header field that never ends.
            const QByteArray start = "HTTP/1.1 200 OK\r\nX-Slow: ";
            for (qsizetype sent = 0;; ++sent) {
                const char byte = sent < start.size() ? start[sent] : 'x';
                if (SSL_write(tls, &byte, 1) != 1 || !pause(reply.interval))
                    return;
            }
        }
    }
}

bool HttpsTestServer::pause(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    if (time == std::chrono::milliseconds::max())
        stopped_.wait(lock, [this] { return stopping_; });
    else
        stopped_.wait_for(lock, time, [this] { return stopping_; });
    return !stopping_;
}

}  // namespace keyvane::testing
