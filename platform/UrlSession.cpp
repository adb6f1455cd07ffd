#include "platform/UrlSession.h"

#include <QCoreApplication>
#include <QMetaEnum>
#include <QMetaObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QThread>
#include <QTimer>
#include <QUrl>
#include <map>

namespace keyvane {
namespace {

constexpr const char* timedOutDescription = "The request timed out.";

// Qt reports HTTP error statuses as errors; for us they are answers like any other.
bool isHttpStatus(QNetworkReply::NetworkError error) {
    switch (error) {
        case QNetworkReply::NoError:
        case QNetworkReply::ContentAccessDenied:
        case QNetworkReply::ContentOperationNotPermittedError:
        case QNetworkReply::ContentNotFoundError:
        case QNetworkReply::AuthenticationRequiredError:
        case QNetworkReply::ContentReSendError:
        case QNetworkReply::ContentConflictError:
        case QNetworkReply::ContentGoneError:
        case QNetworkReply::UnknownContentError:
        case QNetworkReply::InternalServerError:
        case QNetworkReply::OperationNotImplementedError:
        case QNetworkReply::ServiceUnavailableError:
        case QNetworkReply::UnknownServerError:
            return true;
        default:
            return false;
    }
}

// Names under "invalid." never resolve (RFC 6761): the default service host is one of them.
bool isReservedInvalid(const QString& host) {
    const QString name = host.toLower();
    return name == "invalid" || name == "invalid." || name.endsWith(".invalid") ||
           name.endsWith(".invalid.");
}

QSslConfiguration sslConfiguration() {
    QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
    const QByteArray extraFile = qgetenv("SSL_CERT_FILE");
    if (!extraFile.isEmpty()) {
        const QList<QSslCertificate> extra =
            QSslCertificate::fromPath(QString::fromLocal8Bit(extraFile), QSsl::Pem,
                                      QSslCertificate::PatternSyntax::FixedString);
        // Naming authorities explicitly switches off the on-demand loading of the system's, so
        // they are named too: the file adds to them, it does not replace them.
        ssl.setCaCertificates(QSslConfiguration::systemCaCertificates() + extra);
    }
    return ssl;
}

QNetworkRequest networkRequest(const UrlRequest& request) {
    QNetworkRequest result(QUrl(QString::fromStdString(request.url)));
    result.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    result.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    result.setSslConfiguration(sslConfiguration());

    std::map<QByteArray, QByteArray> values;  // by lower-case name
    std::vector<QByteArray> names;            // as first given, in order
    for (const auto& [name, value] : request.headerFields) {
        if (name.empty())
            continue;
        const QByteArray key = QByteArray::fromStdString(name).toLower();
        auto [it, added] = values.try_emplace(key, QByteArray::fromStdString(value));
        if (added)
            names.push_back(QByteArray::fromStdString(name));
        else
            it->second += "," + QByteArray::fromStdString(value);
    }
    for (const QByteArray& name : names)
        result.setRawHeader(name, values[name.toLower()]);
    if (!request.body.empty() && !result.hasRawHeader("Content-Type"))
        result.setHeader(QNetworkRequest::ContentTypeHeader, "application/x-www-form-urlencoded");
    return result;
}

// One exchange with its own network access manager; deletes itself (and with it the manager and
// everything the manager still holds) once the outcome has been handed on.
class Exchange : public QObject {
  public:
    Exchange(UrlRequest request, std::function<void(UrlOutcome)> completion)
        : QObject(QCoreApplication::instance()),
          request_(std::move(request)),
          completion_(std::move(completion)) {}

    void begin() {
        const QUrl url(QString::fromStdString(request_.url));
        if (isReservedInvalid(url.host())) {
            // Answered here, without a look-up: even a query for the name would leave the machine.
            QTimer::singleShot(0, this, [this, host = url.host().toStdString()] {
                deliver(failure("Host " + host + " not found", "HostNotFoundError"));
            });
            return;
        }
        auto* manager = new QNetworkAccessManager(this);
        const QNetworkRequest request = networkRequest(request_);
        const QByteArray body = QByteArray::fromStdString(request_.body);
        const QByteArray method = QByteArray::fromStdString(request_.method);
        if (method == "GET" && body.isEmpty())
            reply_ = manager->get(request);
        else if (method == "POST")
            reply_ = manager->post(request, body);
        else
            reply_ = manager->sendCustomRequest(request, method, body);

        idle_.setSingleShot(true);
        total_.setSingleShot(true);
        connect(&idle_, &QTimer::timeout, this, &Exchange::timeOut);
        connect(&total_, &QTimer::timeout, this, &Exchange::timeOut);
        const auto moved = [this] {
            if (idle_.isActive())
                idle_.start();
        };
        connect(reply_, &QNetworkReply::downloadProgress, this, moved);
        connect(reply_, &QNetworkReply::uploadProgress, this, moved);
        connect(reply_, &QNetworkReply::metaDataChanged, this, moved);
        connect(reply_, &QNetworkReply::encrypted, this, moved);
        connect(reply_, &QNetworkReply::finished, this, &Exchange::finish);
        idle_.start(request_.idleLimit);
        total_.start(request_.totalLimit);
    }

  private:
    void timeOut() {
        timedOut_ = true;
        reply_->abort();  // finishes the reply at once
    }

    void finish() {
        if (done_)
            return;
        done_ = true;
        idle_.stop();
        total_.stop();

        const QNetworkReply::NetworkError error = reply_->error();
        const bool answered =
            !timedOut_ && isHttpStatus(error) &&
            (error == QNetworkReply::NoError ||
             reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid());
        if (answered) {
            const QByteArray bytes = reply_->readAll();
            UrlOutcome outcome;
            outcome.body.emplace(bytes.begin(), bytes.end());
            deliver(std::move(outcome));
        } else if (timedOut_) {
            deliver(failure(timedOutDescription, "TimeoutError"));
        } else {
            const char* kind = QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(error);
            deliver(failure(reply_->errorString().toStdString(), kind ? kind : "Error"));
        }
    }

    UrlOutcome failure(const std::string& description, const std::string& kind) const {
        UrlOutcome outcome;
        outcome.failed = true;
        outcome.errorDescription = description;
        outcome.errorDetail = kind + " (" + description + ") for " + request_.url;
        return outcome;
    }

    void deliver(UrlOutcome outcome) {
        auto completion = std::move(completion_);
        deleteLater();
        completion(std::move(outcome));
    }

    UrlRequest request_;
    std::function<void(UrlOutcome)> completion_;
    QNetworkReply* reply_ = nullptr;
    QTimer idle_;
    QTimer total_;
    bool timedOut_ = false;
    bool done_ = false;
};

}  // namespace

void UrlSession::start(UrlRequest request, std::function<void(UrlOutcome)> completion) {
    QCoreApplication* application = QCoreApplication::instance();
    if (!application) {
        UrlOutcome outcome;
        outcome.failed = true;
        outcome.errorDescription = "No event loop to run the request on.";
        outcome.errorDetail = outcome.errorDescription + " " + request.url;
        completion(std::move(outcome));
        return;
    }
    const auto begin = [request = std::move(request), completion = std::move(completion)]() {
        (new Exchange(request, completion))->begin();
    };
    // The manager and its timers belong to the event loop's thread, whoever asks.
    if (QThread::currentThread() == application->thread())
        begin();
    else
        QMetaObject::invokeMethod(application, begin, Qt::QueuedConnection);
}

}  // namespace keyvane
