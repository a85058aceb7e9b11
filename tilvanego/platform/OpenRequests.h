#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

class URL;

/// The open requests of an application object that wait for their answers, for every `Application` that opens
/// links and learns later what became of them. The main thread's.
///
/// A request is overtaken when a link of the same target (scheme, host and path) is opened while it waits:
/// its operation is over, by a time-out of the host's say, and the newer link is the next one of the same
/// kind. An overtaken request counts as opened, whatever is answered: its late failure would be taken for the
/// newer operation's, and the payment application's answer to that one be thrown away.
///
/// One turn remains: the library acts on a failure in the turn of the main queue after its report. A block of
/// the host's that stands between the two, cancels the operation and starts another, has that one ended.
class OpenRequests {
 public:
  using Id = std::uint64_t;

  OpenRequests() = default;
  OpenRequests(const OpenRequests&) = delete;
  OpenRequests& operator=(const OpenRequests&) = delete;
  /// Drops the handlers that still wait, uncalled.
  ~OpenRequests();

  /// Keeps a request, which isn't answered before this has returned. `completionHandler` isn't empty.
  [[nodiscard]] Id add(const URL& url, std::function<void(bool opened)> completionHandler);

  /// Calls the request's handler, with true if it was opened or overtaken. The request is gone by then.
  /// Nothing happens for one that is gone already. Throws what the handler throws.
  void answer(Id request, bool opened);

  /// How many requests wait.
  [[nodiscard]] std::size_t size() const { return waiting_.size(); }

 private:
  struct Waiting {
    std::string target;
    std::function<void(bool)> handler;
    bool overtaken = false;
  };

  Id last_ = 0;
  std::map<Id, Waiting> waiting_;
};

}  // namespace tilvanego
