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

namespace tilvanego {

/// An application object that opens nothing: it keeps the links, and the program says what became of them.
///
/// Each request is answered as the program says, also one that a newer request has overtaken: unlike an
/// application that opens links, which leaves that to `OpenRequests`, this one rehearses whatever a system
/// may report. The main thread's.
class MemoryApplication final : public Application {
 public:
  /// `mainQueue` carries the automatic answers.
  explicit MemoryApplication(MainQueue& mainQueue) : mainQueue_(mainQueue) {}
  MemoryApplication(const MemoryApplication&) = delete;
  MemoryApplication& operator=(const MemoryApplication&) = delete;
  /// Wipes the links, which may hold tokens.
  ~MemoryApplication() override;

  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override;

  /// Every link so far, oldest first.
  [[nodiscard]] const std::vector<URL>& openedURLs() const TILVANEGO_LIFETIMEBOUND { return openedURLs_; }

  /// How many open requests wait for an answer.
  [[nodiscard]] std::size_t unanswered() const { return handlers_.size(); }

  /// Answers the open request that has waited longest, in this call. False if none waits. What the handler
  /// throws leaves this call; the request is answered by then.
  bool answerOldest(bool opened);

  /// From now on each open request is answered so, on the main queue; no value: it waits for `answerOldest`.
  void answerAutomatically(std::optional<bool> opened) { automaticAnswer_ = opened; }

  /// Sets a function that is called within each open request, once the link is kept; an empty one means none.
  /// May throw: the exception leaves `openURL`, as that of an application which fails; the request waits for
  /// its answer all the same.
  void setOnOpen(std::function<void(const URL&)> onOpen) { onOpen_.swap(onOpen); }

 private:
  WeakMainQueue mainQueue_;
  std::vector<URL> openedURLs_;
  std::deque<std::function<void(bool)>> handlers_;
  std::optional<bool> automaticAnswer_;
  std::function<void(const URL&)> onOpen_;
};

}  // namespace tilvanego
