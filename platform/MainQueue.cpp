#include "platform/MainQueue.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <deque>
#include <mutex>
#include <utility>

namespace keyvane {
namespace {

struct Queue {
    std::mutex mutex;
    std::deque<std::function<void()>> tasks;
    // Main thread only: true while a task runs, including any modal loop it spins.
    bool running = false;
};

// Never destroyed: a network thread may still hand over an outcome while the process exits.
Queue& queue() {
    static auto* instance = new Queue;
    return *instance;
}

void runNext();

// Asks the event loop for one turn of the queue. Turns that find a task running or nothing
// queued do nothing, so spare turns are harmless.
void requestTurn() {
    if (QCoreApplication* application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, &runNext, Qt::QueuedConnection);
}

bool hasTasks() {
    Queue& q = queue();
    std::lock_guard lock(q.mutex);
    return !q.tasks.empty();
}

void runNext() {
    Queue& q = queue();
    // A task further up this thread's stack is still running (a modal alert spins its own event
    // loop); it asks for the next turn when it returns.
    if (q.running)
        return;
    std::function<void()> task;
    {
        std::lock_guard lock(q.mutex);
        if (q.tasks.empty())
            return;
        task = std::move(q.tasks.front());
        q.tasks.pop_front();
    }
    struct Finish {
        Queue& q;
        ~Finish() {
            q.running = false;
            if (hasTasks())
                requestTurn();
        }
    } finish{q};
    q.running = true;
    task();
}

}  // namespace

void MainQueue::async(std::function<void()> task) {
    {
        Queue& q = queue();
        std::lock_guard lock(q.mutex);
        q.tasks.push_back(std::move(task));
    }
    requestTurn();
}

}  // namespace keyvane
