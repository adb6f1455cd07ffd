#include "platform/ExchangeThreads.h"

#include <curl/curl.h>

#include <QCoreApplication>
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/CurlTransfer.h"
#include "platform/TrustStore.h"

namespace keyvane {
namespace {

using Clock = CurlTransfer::Clock;
using Completion = std::function<void(UrlOutcome)>;

constexpr const char* noMultiHandle = "libcurl could not be set up";

UrlOutcome failedToStart(const std::string& reason, const std::string& url) {
    UrlOutcome outcome;
    outcome.failed = true;
    outcome.errorDescription = reason;
    outcome.errorDetail = reason + " for " + url;
    return outcome;
}

// A request handed over, not yet seen by the thread.
struct Job {
    UrlRequest request;
    Completion completion;
    Clock::time_point calledAt;  // the limits count from here
};

// A request the multi handle drives.
struct Exchange {
    explicit Exchange(Job job)
        : transfer(std::move(job.request), job.calledAt), completion(std::move(job.completion)) {}
    CurlTransfer transfer;
    Completion completion;
};

class Worker {
  public:
    // Never destroyed: its thread may still run while static objects go away.
    static Worker& instance() {
        static auto* worker = new Worker;
        return *worker;
    }

    void start(UrlRequest request, Completion completion) {
        Job job{std::move(request), std::move(completion), Clock::now()};
        watchForTheEnd();
        std::unique_lock lock(mutex_);
        if (closing_)
            return;  // the process is ending; nobody would receive an outcome
        std::string reason;
        if (broken_) {
            reason = noMultiHandle;
        } else if (!thread_.joinable()) {
            try {
                thread_ = std::thread(&Worker::run, this);
            } catch (const std::system_error& error) {
                reason = std::string("No thread for the request: ") + error.what();
            }
        }
        if (!reason.empty()) {
            lock.unlock();
            job.completion(failedToStart(reason, job.request.url));
            return;
        }
        handedIn_.push_back(std::move(job));
        // Until the thread has made its multi handle, it looks at the requests before it waits.
        if (multi_)
            curl_multi_wakeup(multi_);
    }

    void closeAll() {
        std::lock_guard closingLock(closeMutex_);
        std::thread thread;
        std::vector<Job> dropped;  // with their callbacks, outside the lock
        {
            std::lock_guard lock(mutex_);
            closing_ = true;
            if (multi_)
                curl_multi_wakeup(multi_);
            thread = std::move(thread_);
            dropped = std::exchange(handedIn_, {});
        }
        const bool ran = thread.joinable();
        if (ran)
            thread.join();
        curl_multi_cleanup(std::exchange(multi_, nullptr));
        if (ran) {
            trust_store::release();
            curl_global_cleanup();
        }
    }

  private:
    using Live = std::vector<std::unique_ptr<Exchange>>;

    Worker() = default;

    // The application object's end comes first; exit() is the fallback for a process without one.
    void watchForTheEnd() {
        std::call_once(watching_, [] {
            if (QCoreApplication::instance())
                qAddPostRoutine([] { instance().closeAll(); });
        });
    }

    // The thread: hands new requests to the multi handle, lets it run and waits for the network,
    // a timer or a new request.
    void run() {
        curl_global_init(CURL_GLOBAL_DEFAULT);
        // Registered after OpenSSL has registered its own clean-up, so it runs before it.
        std::atexit([] { instance().closeAll(); });
        CURLM* const multi = curl_multi_init();
        Live live;
        for (;;) {
            std::vector<Job> jobs;
            {
                std::lock_guard lock(mutex_);
                multi_ = multi;
                broken_ = !multi;
                if (closing_)
                    break;
                jobs = std::exchange(handedIn_, {});
            }
            if (!multi) {  // later requests fail as they are made
                for (Job& job : jobs)
                    job.completion(failedToStart(noMultiHandle, job.request.url));
                return;
            }
            for (Job& job : jobs)
                add(multi, std::move(job), live);
            // libcurl wakes up sooner for its own timers, the total limit among them.
            curl_multi_poll(multi, nullptr, 0, drive(multi, live), nullptr);
        }
        // At the end of the process what still runs is abandoned without an outcome.
        for (const auto& exchange : live)
            curl_multi_remove_handle(multi, exchange->transfer.easy());
    }

    void add(CURLM* multi, Job job, Live& live) {
        auto exchange = std::make_unique<Exchange>(std::move(job));
        std::optional<UrlOutcome> failure = exchange->transfer.begin();
        if (!failure && curl_multi_add_handle(multi, exchange->transfer.easy()) != CURLM_OK)
            failure = exchange->transfer.failure(CURLE_FAILED_INIT, "adding the exchange");
        if (failure)
            deliver(std::move(exchange), std::move(*failure));
        else
            live.push_back(std::move(exchange));
    }

    // Lets libcurl do what it can without waiting and ends the exchanges that are done; the
    // milliseconds until the first idle limit runs out.
    int drive(CURLM* multi, Live& live) {
        auto wait = std::chrono::milliseconds(std::numeric_limits<int>::max());
        int running = 0;
        if (const CURLMcode code = curl_multi_perform(multi, &running); code != CURLM_OK) {
            while (!live.empty())
                end(multi, live, live.begin(),
                    live.front()->transfer.failure(CURLE_FAILED_INIT, curl_multi_strerror(code)));
        }
        int queued = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi, &queued)) {
            if (message->msg != CURLMSG_DONE)
                continue;
            CURL* const easy = message->easy_handle;
            const CURLcode result = message->data.result;
            const auto done = std::find_if(live.begin(), live.end(), [easy](const auto& exchange) {
                return exchange->transfer.easy() == easy;
            });
            if (done != live.end())
                end(multi, live, done, (*done)->transfer.finish(result));
        }
        const Clock::time_point now = Clock::now();
        for (auto exchange = live.begin(); exchange != live.end();) {
            if (std::optional<UrlOutcome> failure = (*exchange)->transfer.idleFailure(now)) {
                exchange = end(multi, live, exchange, std::move(*failure));
                continue;
            }
            wait = std::min(wait, std::chrono::ceil<std::chrono::milliseconds>(
                                      (*exchange)->transfer.idleDeadline() - now));
            ++exchange;
        }
        return static_cast<int>(wait.count());
    }

    Live::iterator end(CURLM* multi, Live& live, Live::iterator exchange, UrlOutcome outcome) {
        curl_multi_remove_handle(multi, (*exchange)->transfer.easy());
        std::unique_ptr<Exchange> ended = std::move(*exchange);
        const Live::iterator next = live.erase(exchange);
        deliver(std::move(ended), std::move(outcome));
        return next;
    }

    // The connection is closed before the caller hears of the outcome, and whatever the callback
    // holds goes with this thread.
    void deliver(std::unique_ptr<Exchange> exchange, UrlOutcome outcome) {
        Completion completion = std::move(exchange->completion);
        exchange.reset();
        if (!closing_)
            completion(std::move(outcome));
    }

    std::mutex mutex_;  // guards everything below but the atomic and the once flag
    std::atomic<bool> closing_ = false;
    std::thread thread_;
    std::vector<Job> handedIn_;
    bool broken_ = false;     // the thread could not make its multi handle
    CURLM* multi_ = nullptr;  // the thread's, freed once it has been joined
    std::once_flag watching_;
    std::mutex closeMutex_;
};

}  // namespace

void ExchangeThreads::start(UrlRequest request, std::function<void(UrlOutcome)> completion) {
    Worker::instance().start(std::move(request), std::move(completion));
}

}  // namespace keyvane
