#include "platform/ExchangeThreads.h"

#include <curl/curl.h>

#include <QCoreApplication>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <set>
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

UrlOutcome noThread(const std::system_error& error, const std::string& url) {
    UrlOutcome outcome;
    outcome.failed = true;
    outcome.errorDescription = std::string("No thread for the request: ") + error.what();
    outcome.errorDetail = outcome.errorDescription + " for " + url;
    return outcome;
}

class Threads {
    struct Job {
        UrlRequest request;
        Completion completion;
        Clock::time_point calledAt;  // the limits count from here
    };
    struct Worker {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> ended;
    };

  public:
    // Never destroyed: its threads may still run while static objects go away.
    static Threads& instance() {
        static auto* threads = new Threads;
        return *threads;
    }

    void start(UrlRequest request, Completion completion) {
        auto job =
            std::make_unique<Job>(Job{std::move(request), std::move(completion), Clock::now()});
        watchForTheEnd();
        {
            std::lock_guard lock(mutex_);
            if (closing_)
                return;  // the process is ending; nobody would receive an outcome
            try {
                if (!starter_.joinable())
                    starter_ = std::thread(&Threads::startWorkers, this);
                jobs_.push_back(std::move(job));
            } catch (const std::system_error& error) {
                job->completion(noThread(error, job->request.url));
                return;
            }
        }
        changed_.notify_one();
    }

    void closeAll() {
        std::lock_guard closingLock(closeMutex_);
        std::thread starter;
        {
            std::lock_guard lock(mutex_);
            closing_ = true;
            for (CurlTransfer* transfer : live_)
                transfer->wake();
            starter = std::move(starter_);
        }
        changed_.notify_all();
        if (starter.joinable())
            starter.join();
        if (curlReady_) {
            trust_store::release();
            curl_global_cleanup();
            curlReady_ = false;
        }
    }

  private:
    Threads() = default;

    // The application object's end comes first; exit() is the fallback for a process without one.
    void watchForTheEnd() {
        std::call_once(watching_, [] {
            if (QCoreApplication::instance())
                qAddPostRoutine([] { instance().closeAll(); });
        });
    }

    // The starter thread: starts a worker for each job handed over and joins the workers that
    // have ended; at the end, joins them all.
    void startWorkers() {
        std::vector<Worker> workers;
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return closing_ || !jobs_.empty() || workerEnded_; });
            workerEnded_ = false;
            std::vector<std::unique_ptr<Job>> jobs = std::exchange(jobs_, {});
            const bool closing = closing_;
            lock.unlock();
            std::erase_if(workers, [closing](Worker& worker) {
                if (!closing && !*worker.ended)
                    return false;
                worker.thread.join();
                return true;
            });
            if (closing)
                return;  // jobs not started yet are dropped with their callbacks
            for (std::unique_ptr<Job>& job : jobs)
                startWorker(std::move(job), workers);
            lock.lock();
        }
    }

    void startWorker(std::unique_ptr<Job> job, std::vector<Worker>& workers) {
        auto ended = std::make_shared<std::atomic<bool>>(false);
        try {
            workers.reserve(workers.size() + 1);
            workers.push_back({std::thread(&Threads::run, this, job.get(), ended), ended});
            job.release();  // the worker owns it now
        } catch (const std::system_error& error) {
            job->completion(noThread(error, job->request.url));
        }
    }

    void setUpCurl() {
        std::call_once(curlSetUp_, [this] {
            curl_global_init(CURL_GLOBAL_DEFAULT);
            curlReady_ = true;
            // Registered after OpenSSL has registered its own clean-up, so it runs before it.
            std::atexit([] { instance().closeAll(); });
        });
    }

    void run(Job* started, std::shared_ptr<std::atomic<bool>> ended) {
        std::unique_ptr<Job> job(started);
        setUpCurl();
        std::optional<UrlOutcome> outcome;
        {
            CurlTransfer transfer(std::move(job->request), job->calledAt);
            if (enlist(transfer))
                outcome = transfer.run(closing_);
            delist(transfer);
        }
        if (outcome && !closing_)
            job->completion(std::move(*outcome));
        job.reset();  // whatever the callbacks hold goes with this thread
        *ended = true;
        {
            std::lock_guard lock(mutex_);
            workerEnded_ = true;
        }
        changed_.notify_one();
    }

    bool enlist(CurlTransfer& transfer) {
        std::lock_guard lock(mutex_);
        if (closing_)
            return false;
        live_.insert(&transfer);
        return true;
    }

    void delist(CurlTransfer& transfer) {
        std::lock_guard lock(mutex_);
        live_.erase(&transfer);
    }

    std::mutex mutex_;  // guards everything below but the atomics
    std::condition_variable changed_;
    std::atomic<bool> closing_ = false;
    std::thread starter_;
    std::vector<std::unique_ptr<Job>> jobs_;
    bool workerEnded_ = false;
    std::set<CurlTransfer*> live_;
    std::once_flag watching_;
    std::once_flag curlSetUp_;
    std::atomic<bool> curlReady_ = false;
    std::mutex closeMutex_;
};

}  // namespace

void ExchangeThreads::start(UrlRequest request, std::function<void(UrlOutcome)> completion) {
    Threads::instance().start(std::move(request), std::move(completion));
}

}  // namespace keyvane
