#pragma once

#include <functional>

namespace tilvanego {

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
  /// May throw: the link counts as not opened. What `completionHandler` throws leaves the application's call
  /// of it.
  virtual void openURL(const URL& url, std::function<void(bool opened)> completionHandler) = 0;
};

}  // namespace tilvanego
