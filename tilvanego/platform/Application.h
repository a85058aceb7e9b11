#pragma once

#include <functional>

namespace [[gnu::visibility("default")]] tilvanego {

class URL;

/// The port that opens links. Used on the main thread only.
///
/// An application that learns later whether a link was opened should keep its requests in `OpenRequests`,
/// which handles late reports (see `openURL`).
class Application {
 public:
  virtual ~Application() = default;

  /// Asks the system to open `url` by the application that is registered for its scheme.
  ///
  /// A payment's link may contain a token. The library wipes the link when this call has returned. An
  /// application that copies the link must wipe its copies.
  ///
  /// `completionHandler`, which is not empty, must be called at most once, on the main thread, after this
  /// call has returned, with true if the link was opened. The application owns it. If it is never called, the
  /// operation stays pending.
  ///
  /// False ends the operation of that kind that is pending at that moment, even if it was started later,
  /// after a cancel: the library cannot know to which of the two a late report belongs. So an application
  /// must report true for a link that a newer link has replaced.
  ///
  /// May throw: the link counts as not opened, unless `completionHandler` was called before. Later calls of
  /// it are ignored.
  virtual void openURL(const URL& url, std::function<void(bool opened)> completionHandler) = 0;
};

}  // namespace tilvanego
