#pragma once

#include <tilvanego/values/URL.h>

namespace tilvanego::detail {

/// Whether a callback has the URL that a request named: schemes and hosts are equal without regard to case,
/// and decoded paths are equal with regard to case. An empty path equals "/"; an absent host differs from an
/// empty one. User, port, query and fragment are ignored. Allocates nothing unless a host or path has
/// escapes, or a host has an "xn--" label.
[[nodiscard]] bool callbackURLsMatch(const URL& a, const URL& b);

/// The parts in which two URLs differ by that rule.
struct CallbackURLDifference {
  bool scheme = false;
  bool host = false;
  bool path = false;
};
[[nodiscard]] CallbackURLDifference callbackURLDifference(const URL& a, const URL& b);

}  // namespace tilvanego::detail
