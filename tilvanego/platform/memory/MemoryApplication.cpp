#include <tilvanego/platform/memory/MemoryApplication.h>

#include <tilvanego/values/Wiping.h>

namespace [[gnu::visibility("default")]] tilvanego {

MemoryApplication::~MemoryApplication() {
  for (URL& url : openedURLs_) detail::wipe(url);
}

void MemoryApplication::openURL(const URL& url, std::function<void(bool opened)> completionHandler) {
  openedURLs_.push_back(url);
  if (automaticReport_) {
    mainQueue_.post(
        [handler = std::move(completionHandler), opened = *automaticReport_] { handler(opened); });
  } else {
    handlers_.push_back(std::move(completionHandler));
  }
  // Copied: the function may open another link, or set another function.
  if (const auto onOpen = onOpen_) {
    URL copy(url);
    const detail::WipedAtEnd wiped(copy);
    onOpen(copy);
  }
}

bool MemoryApplication::reportOldest(bool opened) {
  if (handlers_.empty()) return false;
  const auto handler = std::move(handlers_.front());
  handlers_.pop_front();
  handler(opened);
  return true;
}

}  // namespace tilvanego
