#include <tilvanego/platform/MainThread.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <tilvanego/platform/MainQueue.h>

namespace tilvanego::detail {

void requireMainThread(const WeakMainQueue& queue, std::string_view operation) {
  if (queue.isCurrent()) return;
  const std::string line =
      "TilvaneGo: " + std::string(operation) +
      " was called from another thread than the main thread. Call it on the thread that drains "
      "the main queue, or post the call to that queue.\n";
  std::fputs(line.c_str(), stderr);
  std::abort();
}

}  // namespace tilvanego::detail
