#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/MainQueue.h>
#include <tilvanego/values/Lifetime.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/Wiping.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// An `Application` for tests. It opens nothing: it keeps the links, and the test reports whether they were
/// opened. Used on the main thread only.
///
/// It does not use `OpenRequests`: it also reports false for a request that a newer one has overtaken, so
/// that a test can check every report that a system may make.
class MemoryApplication final : public Application {
 public:
  /// Automatic reports are posted to `mainQueue`.
  explicit MemoryApplication(MainQueue& mainQueue) : mainQueue_(mainQueue) {}
  MemoryApplication(const MemoryApplication&) = delete;
  MemoryApplication& operator=(const MemoryApplication&) = delete;
  /// Wipes the links, which may contain tokens.
  ~MemoryApplication() override {
    for (URL& url : openedURLs_) detail::wipe(url);
  }

  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override {
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

  /// All links so far, the oldest first.
  [[nodiscard]] const std::vector<URL>& openedURLs() const TILVANEGO_LIFETIMEBOUND { return openedURLs_; }

  /// The number of pending open requests.
  [[nodiscard]] std::size_t pendingCount() const { return handlers_.size(); }

  /// Reports `opened` for the oldest pending open request, in this call. Returns false if none is pending.
  /// Throws what the handler throws; the request is then no longer pending.
  bool reportOldest(bool opened) {
    if (handlers_.empty()) return false;
    const auto handler = std::move(handlers_.front());
    handlers_.pop_front();
    handler(opened);
    return true;
  }

  /// From now on reports `opened` for each open request, on the main queue. Without a value, each request
  /// waits for `reportOldest`. The default is no value.
  void reportAutomatically(std::optional<bool> opened) { automaticReport_ = opened; }

  /// Sets a function that is called inside each `openURL`, after the link is kept. An empty function removes
  /// it. May throw: the exception leaves `openURL`, like that of an application that fails; the request stays
  /// pending.
  void setOnOpen(std::function<void(const URL&)> onOpen) { onOpen_.swap(onOpen); }

 private:
  WeakMainQueue mainQueue_;
  std::vector<URL> openedURLs_;
  std::deque<std::function<void(bool)>> handlers_;
  std::optional<bool> automaticReport_;
  std::function<void(const URL&)> onOpen_;
};

}  // namespace tilvanego
