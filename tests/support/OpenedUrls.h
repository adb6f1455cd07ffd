#pragma once

#include <QObject>
#include <QStringList>
#include <QUrl>

namespace keyvane::testing {

// While it lives, web pages that the application asks the desktop to open (https and http) land
// here instead of in a browser.
class OpenedUrls : public QObject {
    Q_OBJECT
  public:
    OpenedUrls();
    ~OpenedUrls() override;
    const QStringList& urls() const { return urls_; }

  public slots:
    void open(const QUrl& url);

  private:
    QStringList urls_;
};

}  // namespace keyvane::testing
