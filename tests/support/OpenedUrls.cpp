#include "tests/support/OpenedUrls.h"

#include <QDesktopServices>

namespace keyvane::testing {

OpenedUrls::OpenedUrls() {
    QDesktopServices::setUrlHandler("https", this, "open");
    QDesktopServices::setUrlHandler("http", this, "open");
}

OpenedUrls::~OpenedUrls() {
    QDesktopServices::unsetUrlHandler("https");
    QDesktopServices::unsetUrlHandler("http");
}

void OpenedUrls::open(const QUrl& url) {
    urls_.push_back(url.toString(QUrl::FullyEncoded));
}

}  // namespace keyvane::testing
