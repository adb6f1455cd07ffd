#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <string>
#include <thread>
#include <vector>

#include "platform/Alert.h"
#include "platform/MainQueue.h"
#include "tests/support/AlertAnswerer.h"

namespace keyvane {
namespace {

// Tasks run on the main thread, each to its end before the next (see the alert test below).
TEST(MainQueue, RunsTasksOneAtATimeInTheOrderEachThreadEnqueuedThemOnTheMainThread) {
    constexpr int threads = 4, perThread = 200;
    std::vector<std::vector<int>> seen(threads);
    int ran = 0;
    int offMainThread = 0;
    std::vector<std::thread> senders;
    for (int t = 0; t < threads; ++t) {
        senders.emplace_back([&, t] {
            for (int i = 0; i < perThread; ++i) {
                MainQueue::async([&, t, i] {
                    offMainThread += QThread::currentThread() != qApp->thread();
                    seen[t].push_back(i);
                    ++ran;
                });
            }
        });
    }
    for (std::thread& sender : senders)
        sender.join();
    ASSERT_TRUE(QTest::qWaitFor([&] { return ran == threads * perThread; }));
    for (const auto& list : seen) {
        for (int i = 0; i < perThread; ++i)
            ASSERT_EQ(list[i], i);
    }
    EXPECT_EQ(offMainThread, 0);
}

TEST(MainQueue, ATaskThatShowsAModalAlertHoldsLaterTasksUntilTheAlertIsClosed) {
    testing::AlertAnswerer answerer;  // no answer yet: the alert stays open
    std::vector<std::string> log;
    showAlert("The text below the title", "The title", [&] { log.push_back("then"); });
    EXPECT_TRUE(log.empty()) << "showAlert waits for nobody";
    MainQueue::async([&] { log.push_back("later task"); });

    // While the alert is open the application keeps serving its event loop (timers fire), but
    // the queue does not move. Once a hundred timer turns have passed, the alert is answered.
    int turns = 0;
    bool laterTaskRanWhileOpen = false;
    QTimer watcher;
    QObject::connect(&watcher, &QTimer::timeout, [&] {
        if (!answerer.alertOpen())
            return;
        laterTaskRanWhileOpen |= !log.empty();
        if (++turns == 100) {
            MainQueue::async([&] { log.push_back("task enqueued while open"); });
            answerer.answerNext("OK");
        }
    });
    watcher.start(1);

    ASSERT_TRUE(QTest::qWaitFor([&] { return log.size() == 3; }, 30000));
    EXPECT_FALSE(laterTaskRanWhileOpen);
    EXPECT_EQ(log, (std::vector<std::string>{"then", "later task", "task enqueued while open"}));
    EXPECT_EQ(answerer.seen(), (std::vector<testing::AlertAnswerer::Seen>{
                                   {"The title", "The text below the title", {"OK"}, "OK"}}));
}

}  // namespace
}  // namespace keyvane
