#pragma once

#include <functional>

#include "platform/UrlSession.h"

namespace keyvane {

// The threads that HTTPS exchanges run on: one of its own for each exchange, started and later
// joined by a starter thread, so that the caller only hands the request over. At the end of the
// process (when the application object goes away, or at exit) exchanges still running are
// abandoned without an outcome and every thread is joined before libcurl and OpenSSL clean up:
// TLS state on a thread that outlived them would be lost.
class ExchangeThreads {
  public:
    // Callable from any thread; returns at once. `completion` runs on the exchange's thread,
    // unless the process is ending. Limits count from this call.
    static void start(UrlRequest request, std::function<void(UrlOutcome)> completion);
};

}  // namespace keyvane
