#pragma once

#include <functional>

#include "platform/UrlSession.h"

namespace keyvane {

// The thread that HTTPS exchanges run on: one for all of them, started with the first, driving
// libcurl's multi interface, so that the caller only hands the request over. At the end of the
// process (when the application object goes away, or at exit) exchanges still running are
// abandoned without an outcome and the thread is joined before libcurl and OpenSSL clean up: TLS
// state on a thread that outlived them would be lost.
class ExchangeThreads {
  public:
    // Callable from any thread; returns at once. `completion` runs on the exchanges' thread,
    // unless the process is ending. Limits count from this call.
    static void start(UrlRequest request, std::function<void(UrlOutcome)> completion);
};

}  // namespace keyvane
