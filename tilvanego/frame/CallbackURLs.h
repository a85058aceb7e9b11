#pragma once

#include <tilvanego/values/URL.h>

namespace tilvanego::detail {

/// Whether a callback goes to the place that a request named: equal schemes and hosts, whatever their case,
/// and equal decoded paths, with case, where an empty path is "/". An absent host differs from an empty one.
/// User, port, query and fragment aren't looked at. Allocates nothing unless a host or path has escapes or a
/// host an "xn--" label.
[[nodiscard]] bool callbackURLsMatch(const URL& a, const URL& b);

}  // namespace tilvanego::detail
