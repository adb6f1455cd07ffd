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

        UrlOutcome outcome;
        const QNetworkReply::NetworkError error = reply_->error();
        const bool answered =
            !timedOut_ && isHttpStatus(error) &&
            (error == QNetworkReply::NoError ||
             reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid());
        if (answered) {
            const QByteArray bytes = reply_->readAll();
            outcome.body.emplace(bytes.begin(), bytes.end());
        } else {
            outcome.failed = true;
            outcome.errorDescription =
                timedOut_ ? std::string(timedOutDescription) : reply_->errorString().toStdString();
            const char* kind = QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(error);
            outcome.errorDetail = std::string(timedOut_ ? "TimeoutError"
                                              : kind    ? kind
                                                        : "Error") +
                                  " (" + outcome.errorDescription + ") for " + request_.url;
        }
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
