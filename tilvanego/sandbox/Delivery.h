#pragma once

#include <array>
#include <string_view>
#include <utility>

#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/values/RawText.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

/// What happens to a callback URL on its way to the host.
enum class Delivery {
  once,
  /// Two times, one directly after the other.
  twice,
  /// After the next request, whatever becomes of that one: if it is answered at once or after a delay, after
  /// its answer.
  late,
  /// To a scheme that the host didn't ask for.
  otherScheme,
  /// To a path that the host didn't ask for.
  otherPath,
  /// The answer is made, and gets lost.
  never,
  /// The value of each item of the answer ends with the byte FF, which is not UTF-8.
  notUTF8,
};

/// Returns the callback URL of a request as it arrives. It differs from `callback` for `otherScheme`
/// ("myshop://done" becomes "other-myshop://done"), `otherPath` ("/done" becomes "/done-other") and
/// `notUTF8`.
[[nodiscard]] URL delivered(const URL& callback, const LaunchLink& request, Delivery delivery);

}  // namespace sandbox
}  // namespace tilvanego

template <>
struct tilvanego::RawTexts<tilvanego::sandbox::Delivery> {
  using enum sandbox::Delivery;
  static constexpr std::array table{
      std::pair{once, std::string_view("once")},
      std::pair{twice, std::string_view("twice")},
      std::pair{late, std::string_view("late")},
      std::pair{otherScheme, std::string_view("other-scheme")},
      std::pair{otherPath, std::string_view("other-path")},
      std::pair{never, std::string_view("never")},
      std::pair{notUTF8, std::string_view("not-utf-8")},
  };
};
