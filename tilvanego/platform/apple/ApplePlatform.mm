#include <tilvanego/platform/apple/ApplePlatform.h>

#include <functional>
#include <utility>

#import <Foundation/Foundation.h>

#include <tilvanego/platform/MainQueueAdapter.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/StandardOutput.h>
#include <tilvanego/platform/apple/Adapters.h>

namespace [[gnu::visibility("default")]] tilvanego {

MainQueue& appleMainQueue() {
  // Never destroyed: threads that outlive the program's main function may still post to it.
  static MainQueue& queue = *new MainQueueAdapter(
      [](std::function<void()> block) {
        dispatch_async(dispatch_get_main_queue(), ^{
          block();
        });
      },
      [] { return static_cast<bool>(NSThread.isMainThread); });
  return queue;
}

Platform applePlatform(std::shared_ptr<const Clock> clock) {
  return {.mainQueue = &appleMainQueue(),
          .clock = std::move(clock),
          .randomSource = std::make_unique<OpenSSLRandomSource>(),
          .debugOutput = std::make_unique<StandardOutput>(),
          .pasteboard = detail::makeApplePasteboard(),
          .application = detail::makeAppleApplication()};
}

}  // namespace tilvanego
