#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <tilvanego/network/Failure.h>
#include <tilvanego/network/Progress.h>
#include <tilvanego/network/URLRequest.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/values/Data.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A request that a session sends. A task is created suspended, is started once and ends once. All operations
/// may be called from any thread.
///
/// May throw: an exception of `resume` counts as a failure of the session, one of `taskIdentifier` as a
/// request that can't be built; one of `progress` or `cancel` is dropped after one line on standard error.
class URLSessionDataTaskProtocol {
 public:
  virtual ~URLSessionDataTaskProtocol() = default;

  /// Starts the request. A second call does nothing.
  virtual void resume() = 0;
  /// Unique among the tasks of all sessions of the process.
  [[nodiscard]] virtual int taskIdentifier() const = 0;
  /// The progress of the request's body and of the response, in bytes. Cancelling it cancels the task.
  [[nodiscard]] virtual std::shared_ptr<Progress> progress() const = 0;
  /// Cancels the task unless it has ended, also if it was never resumed. Doesn't call the completion itself:
  /// the session does so later.
  virtual void cancel() = 0;
  /// The same as `resume` for a thread that waits for the completion: a session may send the request on this
  /// thread, and run the completion here before the call returns. An exception of the completion then leaves
  /// the call.
  virtual void resumeHere() { resume(); }
};

/// The completion of a task. Called once for each resumed or cancelled task, on the session's thread or
/// inside `resumeHere`, but not once the process exits. With an `error`, `data` and `response` may have
/// values too.
///
/// May throw: in a `URLSession`, whose thread belongs to the library, an exception ends the process after one
/// line on standard error.
using DataTaskCompletion =
    std::function<void(std::optional<Data> data, URLResponsePointer response, std::optional<Failure> error)>;

/// The interface of sessions, which send requests: `URLSession` on libcurl, or a class of the host.
class URLSessionProtocol {
 public:
  virtual ~URLSessionProtocol() = default;

  /// Creates a suspended task for the request. May be called from any thread. May throw: the request counts
  /// as one that can't be built.
  [[nodiscard]] virtual std::shared_ptr<URLSessionDataTaskProtocol> dataTaskFromProtocol(
      const URLRequest& request, DataTaskCompletion completionHandler) = 0;
};

}  // namespace tilvanego
