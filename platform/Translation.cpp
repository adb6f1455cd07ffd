#include "platform/Translation.h"

#include <QCoreApplication>

namespace keyvane {

std::string translated(const char* context, const char* text) {
    return QCoreApplication::translate(context, text).toStdString();
}

}  // namespace keyvane
