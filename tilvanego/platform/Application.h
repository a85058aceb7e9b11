#pragma once

#include <functional>

namespace [[gnu::visibility("default")]] tilvanego {

class URL;

/// What opens links for the host: the system it runs on. The main thread's.
///
/// The library has no way to tell which start a late answer belongs to: a false one ends whatever operation
/// of that kind is pending by then, also one that was started after a cancel. An application that learns of a
/// failure later keeps its requests in `OpenRequests`, which makes that harmless.
class Application {
 public:
  virtual ~Application() = default;

  /// Asks the system to hand `url` to the application that is registered for its scheme.
  ///
  /// A payment's link may hold a token. The library wipes the link when this call has returned; what copies
  /// of it the application makes are its own to wipe.
  ///
  /// `completionHandler` is called once, on the main thread, after this call has returned, with true if the
  /// link was handed over. Its not being called is no failure: a caller waits as long as it has to. It is
  /// owned by the application until then, and dropped uncalled with it. It isn't empty.
  ///
  /// A false report ends whatever operation of its kind is pending when it comes, also one that was started
  /// since: after a cancel, an answer to the earlier link that comes late ends the operation that took its
  /// place. So an application that opens links reports true for a link that a newer one has replaced.
  ///
  /// May throw: the link counts as not opened, unless that was reported already. What `completionHandler` is
  /// told afterwards counts for nothing.
  virtual void openURL(const URL& url, std::function<void(bool opened)> completionHandler) = 0;
};

}  // namespace tilvanego
