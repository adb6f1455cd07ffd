#include "platform/Browser.h"

#include <QDesktopServices>
#include <QUrl>

namespace keyvane {

bool openInBrowser(const std::string& url) {
    return QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
}

}  // namespace keyvane
