#pragma once

#include <tilvanego/http_client/URLSessionProtocol.h>

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tilvanego::test {

/// A failure of a text, for whoever needs one.
struct TestFailure {
  std::string text;
  [[nodiscard]] std::string description() const { return text; }
};

struct FakeAnswer {
  std::optional<Data> data{};
  URLResponsePointer response{};
  std::optional<Failure> error{};
};

inline FakeAnswer httpAnswer(int status, std::optional<Data> data = Data(), HTTPHeaders headers = {}) {
  return {std::move(data), std::make_shared<HTTPURLResponse>(std::nullopt, status, std::move(headers)), {}};
}

/// A session that answers from a script, with the last answer again and again; a cancelled task with the
/// failure "cancelled". Nothing happens by itself: `deliver()` is the session's thread.
class FakeSession : public URLSessionProtocol {
 public:
  explicit FakeSession(std::deque<FakeAnswer> script);

  std::shared_ptr<URLSessionDataTaskProtocol> dataTaskFromProtocol(
      const URLRequest& request, DataTaskCompletion completionHandler) override;

  /// Runs the completions of the tasks that were resumed or cancelled since the last call, on a thread of
  /// their own, and gives their number. Tasks that they make stay for the next call.
  std::size_t deliver();
  /// As above, on the calling thread.
  std::size_t deliverHere();

  /// Those of the tasks made so far.
  [[nodiscard]] std::vector<URLRequest> requests() const;

 private:
  class FakeTask;
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tilvanego::test
