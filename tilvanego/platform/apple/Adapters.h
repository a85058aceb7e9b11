#pragma once

#include <memory>
#include <string_view>

#import <Foundation/Foundation.h>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/Pasteboard.h>

namespace tilvanego::detail {

[[nodiscard]] std::unique_ptr<Application> makeAppleApplication();
[[nodiscard]] std::unique_ptr<Pasteboard> makeApplePasteboard();

/// Returns null if the text is not UTF-8.
[[nodiscard]] inline NSString* toNSString(std::string_view text) {
  return [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
}

}  // namespace tilvanego::detail
