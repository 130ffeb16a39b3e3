// Work handed to the GUI thread from any thread (probe answers, thumbnails, the
// batches of a folder scan).
#pragma once

#include <functional>

namespace zel {

// Runs `work` on the GUI thread, in the order posted. Queued answers run a few
// milliseconds' worth at a time, so that paints, input and timers get their
// turns in between: a thousand thumbnails arriving together would otherwise run
// in one pass of the event loop and hold the window still.
void PostToGui(std::function<void()> work);

}  // namespace zel
