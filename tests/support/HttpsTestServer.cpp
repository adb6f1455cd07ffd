#include "tests/support/HttpsTestServer.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QHostAddress>
#include <QProcess>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTest>
#include <QTimer>
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

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("cannot read " + path.toStdString());
    return file.readAll();
}

const char* reasonPhrase(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 404:
            return "Not Found";
        case 500:
            return "Internal Server Error";
        default:
            return "Status";
    }
}

}  // namespace

TestAuthority::TestAuthority() {
    if (!folder_.isValid())
        throw std::runtime_error("no temporary folder for the test certificates");
    const QString dir = folder_.path();
    const QStringList ecKey = {"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                               "-nodes"};
    runOpenssl(dir, QStringList{"req", "-x509"} + ecKey +
                        QStringList{"-days", "2", "-subj", "/CN=Keyvane Test Authority", "-addext",
                                    "basicConstraints=critical,CA:TRUE", "-addext",
                                    "keyUsage=critical,keyCertSign,cRLSign", "-keyout", "ca.key",
                                    "-out", "ca.pem"});
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
    runOpenssl(dir,
               {"x509", "-req", "-in", "server.csr", "-CA", "ca.pem", "-CAkey", "ca.key",
                "-CAcreateserial", "-days", "2", "-extfile", "server.ext", "-out", "server.pem"});
    serverCertificate_ = QSslCertificate(contentsOf(dir + "/server.pem"), QSsl::Pem);
    serverKey_ = QSslKey(contentsOf(dir + "/server.key"), QSsl::Ec, QSsl::Pem);
    if (serverCertificate_.isNull() || serverKey_.isNull())
        throw std::runtime_error("the test certificate or key did not load");
}

QString TestAuthority::caFile() const {
    return folder_.path() + "/ca.pem";
}

QList<QByteArray> HttpsTestServer::Request::headerValues(const QByteArray& name) const {
    QList<QByteArray> values;
    for (const auto& [field, value] : headers) {
        if (field.compare(name, Qt::CaseInsensitive) == 0)
            values.push_back(value);
    }
    return values;
}

HttpsTestServer::HttpsTestServer() {
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(authority_.serverCertificate());
    configuration.setPrivateKey(authority_.serverKey());
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);  // no client certificates
    server_.setSslConfiguration(configuration);
    QObject::connect(&server_, &QSslServer::pendingConnectionAvailable, [this] {
        while (auto* socket = static_cast<QSslSocket*>(server_.nextPendingConnection()))
            serve(socket);
    });
    QObject::connect(&server_, &QSslServer::errorOccurred,
                     [this](QSslSocket*, QAbstractSocket::SocketError) { ++failedHandshakes_; });
    if (!server_.listen(QHostAddress::LocalHost, 0))
        throw std::runtime_error("the test server cannot listen: " +
                                 server_.errorString().toStdString());
}

HttpsTestServer::~HttpsTestServer() {
    tricklers_.clear();
    server_.close();
}

std::string HttpsTestServer::host() const {
    return "127.0.0.1:" + std::to_string(server_.serverPort());
}

void HttpsTestServer::useForThisProcess() const {
    qputenv("KEYVANE_SERVICE_HOST", QByteArray::fromStdString(host()));
    qputenv("SSL_CERT_FILE", caFile().toLocal8Bit());
}

void HttpsTestServer::answerWith(int status, QByteArray body) {
    mode_ = Mode::Answer;
    status_ = status;
    body_ = std::move(body);
}

void HttpsTestServer::neverAnswer() {
    mode_ = Mode::Silent;
}

void HttpsTestServer::trickle(std::chrono::milliseconds interval) {
    mode_ = Mode::Trickle;
    trickleInterval_ = interval;
}

bool HttpsTestServer::waitForRequests(std::size_t count, std::chrono::milliseconds limit) {
    return QTest::qWaitFor([&] { return requests_.size() >= count; },
                           static_cast<int>(limit.count()));
}

void HttpsTestServer::serve(QSslSocket* socket) {
    socket->setParent(&server_);
    auto buffer = std::make_shared<QByteArray>();
    QObject::connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
    const auto consume = [this, socket, buffer] {
        buffer->append(socket->readAll());
        const qsizetype headerEnd = buffer->indexOf("\r\n\r\n");
        if (headerEnd < 0)
            return;
        Request request;
        const QList<QByteArray> lines = buffer->left(headerEnd).split('\n');
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
        if (buffer->size() < headerEnd + 4 + contentLength)
            return;
        request.body = buffer->mid(headerEnd + 4, contentLength);
        buffer->clear();
        requests_.push_back(std::move(request));
        respond(socket);
    };
    QObject::connect(socket, &QSslSocket::readyRead, socket, consume);
    if (socket->bytesAvailable() > 0)
        consume();
}

void HttpsTestServer::respond(QSslSocket* socket) {
    switch (mode_) {
        case Mode::Silent:
            return;
        case Mode::Answer:
            socket->write("HTTP/1.1 " + QByteArray::number(status_) + " " + reasonPhrase(status_) +
                          "\r\nContent-Type: text/plain\r\nContent-Length: " +
                          QByteArray::number(body_.size()) + "\r\nConnection: close\r\n\r\n" +
                          body_);
            socket->disconnectFromHost();
            return;
        case Mode::Trickle: {
            socket->write(
                "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 1000000\r\n\r\n");
            auto timer = std::make_unique<QTimer>();
            QObject::connect(timer.get(), &QTimer::timeout, socket, [socket] {
                if (socket->state() == QAbstractSocket::ConnectedState)
                    socket->write("x");
            });
            timer->start(trickleInterval_);
            tricklers_.push_back(std::move(timer));
            return;
        }
    }
}

}  // namespace keyvane::testing
