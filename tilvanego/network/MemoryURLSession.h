#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/network/URLSessionProtocol.h>

namespace tilvanego {

/// A session in memory, for rehearsals and tests: a function answers, and nothing happens until the host has
/// the answers delivered.
///
/// All operations may be called from any thread. Until its answer is delivered, a task keeps its builder and
/// the session alive.
class MemoryURLSession final : public URLSessionProtocol {
 public:
  /// What a task ends with.
  struct Result {
    std::optional<Data> data{};
    URLResponsePointer response{};
    std::optional<Failure> error{};

    static Result http(int statusCode, std::optional<Data> body = Data(), HTTPHeaders headers = {});
    static Result failed(Failure failure) { return {std::nullopt, nullptr, std::move(failure)}; }
  };
  using Responder = std::function<Result(const URLRequest& request)>;

  /// `responder` is called for each task that isn't cancelled, on a thread that delivers, without a lock
  /// held. May throw: the task fails by the exception. An empty one fails each task.
  explicit MemoryURLSession(Responder responder);

  std::shared_ptr<URLSessionDataTaskProtocol> dataTaskFromProtocol(
      const URLRequest& request, DataTaskCompletion completionHandler) override;

  /// Ends the tasks that were resumed or cancelled since the last call, in that order, and gives their
  /// number. The calling thread is the session's thread for them. Tasks that their completions make are left
  /// to the next call. A cancelled task ends with the failure of a real session,
  /// `TransportError::Code::cancelled`. What a completion throws leaves here, and the tasks behind it are
  /// left to the next call, too.
  std::size_t deliver();

  /// The requests of all tasks so far, in the order of their making.
  [[nodiscard]] std::vector<URLRequest> requests() const;

 private:
  class MemoryTask;
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tilvanego
