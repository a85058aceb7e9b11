#include <functional>
#include <memory>
#include <utility>

#import <UIKit/UIKit.h>

#include <tilvanego/platform/OpenRequests.h>
#include <tilvanego/platform/apple/Adapters.h>
#include <tilvanego/platform/apple/ApplePlatform.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::detail {
namespace {

class AppleApplication final : public Application {
 public:
  void openURL(const URL& url, std::function<void(bool opened)> completionHandler) override {
    const auto request = requests_->add(url, std::move(completionHandler));
    NSURL* link = [NSURL URLWithString:toNSString(url.absoluteString())];
    if (!link) return report(requests_, request, false);
    std::weak_ptr<OpenRequests> requests = requests_;
    [UIApplication.sharedApplication openURL:link
        options:@{}
        completionHandler:^(BOOL opened) {
          report(requests, request, opened);
        }];
  }

 private:
  // In a later block: UIKit doesn't promise to call back after `openURL` has returned.
  static void report(std::weak_ptr<OpenRequests> requests, OpenRequests::Id request, bool opened) {
    appleMainQueue().post([requests = std::move(requests), request, opened] {
      if (const auto waiting = requests.lock()) waiting->report(request, opened);
    });
  }

  std::shared_ptr<OpenRequests> requests_ = std::make_shared<OpenRequests>();
};

}  // namespace

std::unique_ptr<Application> makeAppleApplication() { return std::make_unique<AppleApplication>(); }

}  // namespace tilvanego::detail
