#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/network/URLSessionProtocol.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A session without a network, for tests: a function of the host returns the responses. Tasks end only when
/// the host calls `deliver`.
///
/// All operations may be called from any thread. A task that was resumed or cancelled keeps its builder and
/// its completion alive until it is delivered. When the session ends, it releases its tasks without calling
/// their completions; tasks that the host still holds do nothing after that. A builder whose factory holds
/// the session keeps the session, too: deliver what was sent before you release both.
class MemoryURLSession final : public URLSessionProtocol {
 public:
  /// The arguments of a task's completion.
  struct Result {
    std::optional<Data> data{};
    URLResponsePointer response{};
    std::optional<Failure> error{};

    /// A response with this status, body and header fields. Its URL is empty.
    [[nodiscard]] static Result http(int statusCode, std::optional<Data> body = Data(),
                                     HTTPHeaders headers = {});
    /// A failure without a response.
    [[nodiscard]] static Result failed(Failure failure) {
      return {std::nullopt, nullptr, std::move(failure)};
    }
  };
  using Responder = std::function<Result(const URLRequest& request)>;

  /// `deliver` calls `responder` once for each task that isn't cancelled, without a lock held. May throw: the
  /// task then fails with the exception. If `responder` is empty, each task fails.
  explicit MemoryURLSession(Responder responder);

  /// The task's progress is complete when the task has succeeded. An empty completion isn't called.
  std::shared_ptr<URLSessionDataTaskProtocol> dataTaskFromProtocol(
      const URLRequest& request, DataTaskCompletion completionHandler) override;

  /// Ends the tasks that were resumed or cancelled since the last call, in that order, and returns their
  /// number. Completions run on the calling thread. A task that is resumed meanwhile waits for the next call.
  /// A cancelled task fails with `TransportError::Code::cancelled`, as in a `URLSession`. If a completion
  /// throws, the exception leaves this call, and the remaining tasks wait for the next call. If the session
  /// ends meanwhile, the remaining tasks end without a call.
  std::size_t deliver();

  /// The requests of all tasks, in the order in which the tasks were created.
  [[nodiscard]] std::vector<URLRequest> requests() const;

 private:
  class MemoryTask;
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tilvanego
