#include "app/PacedPost.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMetaObject>

#include <deque>
#include <mutex>
#include <utility>

namespace zel {
namespace {

constexpr qint64 kBudgetMs = 8;

// Process-wide and never destroyed: a worker may still post while the window
// goes away, and the answer must find the queue (it is dropped with qApp).
struct Queue {
  std::mutex mutex;
  std::deque<std::function<void()>> work;
  bool scheduled = false;
};

Queue& TheQueue() {
  static auto* queue = new Queue;
  return *queue;
}

void Schedule();

// An answer may pump events and so run this again from inside; each run pops
// under the lock and works outside it, so nesting only shares out the work.
void Drain() {
  Queue& queue = TheQueue();
  QElapsedTimer clock;
  clock.start();
  for (;;) {
    std::function<void()> next;
    {
      std::lock_guard lock(queue.mutex);
      if (queue.work.empty()) {
        queue.scheduled = false;
        return;
      }
      next = std::move(queue.work.front());
      queue.work.pop_front();
    }
    next();
    if (clock.elapsed() >= kBudgetMs) break;
  }
  // Posted during this pass of the event loop, the rest waits for the next one,
  // behind the paints and input that came meanwhile.
  Schedule();
}

void Schedule() {
  if (QCoreApplication* app = QCoreApplication::instance()) {
    QMetaObject::invokeMethod(app, &Drain, Qt::QueuedConnection);
  }
}

}  // namespace

void PostToGui(std::function<void()> work) {
  Queue& queue = TheQueue();
  bool first = false;
  {
    std::lock_guard lock(queue.mutex);
    queue.work.push_back(std::move(work));
    first = !std::exchange(queue.scheduled, true);
  }
  if (first) Schedule();
}

}  // namespace zel
