#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

class URL;

/// The pending open requests of an `Application` that learns later whether a link was opened. Used on the
/// main thread only.
///
/// A pending request is overtaken by a newer request with the same target (scheme, host and path): its
/// operation is over, for example cancelled, and the newer link belongs to the next operation of the same
/// kind. An overtaken request always counts as opened. Its late failure would end the newer operation, and
/// the payment application's response to that one would be lost.
///
/// One case remains: the library handles a failure in the next block of the main queue after its report. If a
/// block of the host runs between the two, cancels the operation and starts another, the failure ends the new
/// one.
class OpenRequests {
 public:
  using Id = std::uint64_t;

  OpenRequests() = default;
  OpenRequests(const OpenRequests&) = delete;
  OpenRequests& operator=(const OpenRequests&) = delete;
  /// Drops the handlers of pending requests without a call.
  ~OpenRequests();

  /// Adds a request. Call `report` only after this has returned. `completionHandler` must not be empty.
  [[nodiscard]] Id add(const URL& url, std::function<void(bool opened)> completionHandler);

  /// Removes the request, then calls its handler, with true if the link was opened or the request was
  /// overtaken. Does nothing for an unknown request. Throws what the handler throws.
  void report(Id request, bool opened);

  /// The number of pending requests.
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
