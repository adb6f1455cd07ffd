#include "platform/Application.h"

#include <QCoreApplication>

namespace keyvane {

// exit() rather than quit(): a quit request can be refused by a window that ignores its close
// event, and termination here must not be negotiable.
void terminateApplication() {
    QCoreApplication::exit(0);
}

}  // namespace keyvane
