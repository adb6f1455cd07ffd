#pragma once

#include <functional>

namespace keyvane {

// The application's main queue: tasks run on the thread of the Qt event loop, one at a time, in
// the order in which they were enqueued. A task that runs a modal alert holds the queue: the
// alert's own event loop keeps the application responsive, but later tasks wait until the task
// that shows it has returned.
//
// Tasks enqueued before the application object exists wait until a task is enqueued after it has
// been created.
class MainQueue {
  public:
    // Callable from any thread; returns at once.
    static void async(std::function<void()> task);
};

}  // namespace keyvane
