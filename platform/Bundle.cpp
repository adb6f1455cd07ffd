#include "platform/Bundle.h"

#include <QCoreApplication>

#ifndef KEYVANE_BUNDLE_VERSION
#error "KEYVANE_BUNDLE_VERSION must be defined by the build"
#endif

namespace keyvane::bundle {

std::string shortVersion() {
    return KEYVANE_BUNDLE_VERSION;
}

void appendProgramFolderToPath() {
    QByteArray path = qgetenv("PATH");
    if (!path.isEmpty())
        path += ':';
    qputenv("PATH", path + QCoreApplication::applicationDirPath().toLocal8Bit());
}

}  // namespace keyvane::bundle
