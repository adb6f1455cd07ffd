#include "tests/support/HttpsTestServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <optional>
#include <stdexcept>

namespace keyvane::testing {
namespace {

void runOpenssl(const QString& folder, const QStringList& arguments) {
    QProcess openssl;
    openssl.setWorkingDirectory(folder);
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start("openssl", arguments);
    if (!openssl.waitForFinished(30000) || openssl.exitStatus() != QProcess::NormalExit ||
        openssl.exitCode() != 0)
        throw std::runtime_error("openssl " + arguments.join(' ').toStdString() +
                                 " failed: " + openssl.readAll().toStdString());
}

// A throwaway certificate authority and a server certificate it signed for 127.0.0.1, made with
// the openssl command in a temporary folder that lives as long as the process.
class TestAuthority {
  public:
    static const TestAuthority& trusted() {
        static const TestAuthority authority("Keyvane Test Authority");
        return authority;
    }
    static const TestAuthority& untrusted() {
        static const TestAuthority authority("Nobody Trusts This Authority");
        return authority;
    }

    QString caFile() const { return folder_.filePath("ca.pem"); }
    QString certificateFile() const { return folder_.filePath("server.pem"); }
    QString keyFile() const { return folder_.filePath("server.key"); }

  private:
    explicit TestAuthority(const QString& name) {
        if (!folder_.isValid())
            throw std::runtime_error("no temporary folder for the test certificates");
        const QString dir = folder_.path();
        const QStringList ecKey = {"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                                   "-nodes"};
        runOpenssl(dir, QStringList{"req", "-x509"} + ecKey +
                            QStringList{"-days", "2", "-subj", "/CN=" + name, "-addext",
                                        "basicConstraints=critical,CA:TRUE", "-addext",
                                        "keyUsage=critical,keyCertSign,cRLSign", "-keyout",
                                        "ca.key", "-out", "ca.pem"});
        runOpenssl(dir, QStringList{"req", "-new"} + ecKey +
                            QStringList{"-subj", "/CN=127.0.0.1", "-keyout", "server.key", "-out",
                                        "server.csr"});
        QFile extensions(dir + "/server.ext");
        if (!extensions.open(QIODevice::WriteOnly) ||
            extensions.write("basicConstraints=CA:FALSE\n"
                             "extendedKeyUsage=serverAuth\n"
                             "subjectAltName=IP:127.0.0.1,DNS:localhost\n") < 0)
            throw std::runtime_error("cannot write the certificate extensions");
        extensions.close();
        runOpenssl(
            dir, {"x509", "-req", "-in", "server.csr", "-CA", "ca.pem", "-CAkey", "ca.key",
                  "-CAcreateserial", "-days", "2", "-extfile", "server.ext", "-out", "server.pem"});
    }

    QTemporaryDir folder_;
};

const char* reasonPhrase(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 302:
            return "Found";
        case 400:
            return "Bad Request";
        case 404:
            return "Not Found";
        case 407:
            return "Proxy Authentication Required";
        case 418:
            return "I'm a teapot";
        case 500:
            return "Internal Server Error";
        default:
            return "Status";
    }
}

// The first whole request at the start of `received`, or nothing while it is incomplete.
std::optional<HttpsTestServer::Request> wholeRequest(const QByteArray& received) {
    const qsizetype headerEnd = received.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return std::nullopt;
    HttpsTestServer::Request request;
    const QList<QByteArray> lines = received.left(headerEnd).split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    request.method = requestLine.value(0);
    request.target = requestLine.value(1);
    qsizetype contentLength = 0;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines[i].trimmed();
        const qsizetype colon = line.indexOf(':');
        if (colon < 0)
            continue;
        const QByteArray name = line.left(colon);
        const QByteArray value = line.mid(colon + 1).trimmed();
        request.headers.push_back({name, value});
        if (name.compare("Content-Length", Qt::CaseInsensitive) == 0)
            contentLength = value.toLongLong();
    }
    const qsizetype end = headerEnd + 4 + contentLength;
    if (received.size() < end)
        return std::nullopt;
    request.raw = received.left(end);
    request.body = received.mid(headerEnd + 4, contentLength);
    return request;
}

}  // namespace

int unusedLoopbackPort() {
    const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (probe < 0 || ::bind(probe, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no loopback port to spare");
    ::close(probe);
    return ntohs(address.sin_port);
}

QByteArray HttpsTestServer::Request::requestLine() const {
    return raw.left(raw.indexOf("\r\n"));
}

QList<QByteArray> HttpsTestServer::Request::headerValues(const QByteArray& name) const {
    QList<QByteArray> values;
    for (const auto& [field, value] : headers) {
        if (field.compare(name, Qt::CaseInsensitive) == 0)
            values.push_back(value);
    }
    return values;
}

HttpsTestServer::HttpsTestServer(Certificate certificate) {
    // A client that goes away while the server writes must not end the test program.
    std::signal(SIGPIPE, SIG_IGN);
    const TestAuthority& authority =
        certificate == Certificate::Trusted ? TestAuthority::trusted() : TestAuthority::untrusted();
    context_ = SSL_CTX_new(TLS_server_method());
    if (!context_ ||
        SSL_CTX_use_certificate_file(context_, authority.certificateFile().toLocal8Bit(),
                                     SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(context_, authority.keyFile().toLocal8Bit(),
                                    SSL_FILETYPE_PEM) != 1)
        throw std::runtime_error("the test server's certificate did not load");

    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (listener_ < 0 || ::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::listen(listener_, 64) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("the test server cannot listen");
    port_ = ntohs(address.sin_port);
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
    qputenv("SSL_CERT_FILE", TestAuthority::trusted().caFile().toLocal8Bit());
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
            const QByteArray answer = "HTTP/1.1 " + QByteArray::number(reply.status) + " " +
                                      reasonPhrase(reply.status) +
                                      "\r\nContent-Type: text/plain\r\nContent-Length: " +
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
