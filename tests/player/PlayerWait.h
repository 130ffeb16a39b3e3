// Waiting on headless mpv in the player's tests: the event loop runs until the
// condition holds or the time is up.
#pragma once

#include <QElapsedTimer>
#include <QTest>

#include <functional>

namespace zel::test {

inline bool WaitFor(const std::function<bool()>& done, int ms = 20000) {
  QElapsedTimer clock;
  clock.start();
  while (!done()) {
    if (clock.elapsed() > ms) return false;
    QTest::qWait(5);
  }
  return true;
}

}  // namespace zel::test
