#include "platform/Bundle.h"

#include <QCoreApplication>
#include <QDir>

#include "permanent/PermanentCommand.h"

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

std::string permanentHelperPath() {
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + '/' +
                           permanent::helperFromProgramFolder)
        .toStdString();
}

}  // namespace keyvane::bundle
