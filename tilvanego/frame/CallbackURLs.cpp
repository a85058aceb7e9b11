#include <tilvanego/frame/CallbackURLs.h>

#include <string_view>

#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Text.h>

namespace tilvanego::detail {
namespace {

// Inlined, as `samePaths` is: for each callback the library calls `callbackURLsMatch` several times. Since
// `callbackURLDifference` calls these two functions too, the compiler alone would not inline them.
[[gnu::always_inline]] inline bool sameSchemes(const URL& a, const URL& b) {
  const auto first = a.scheme();
  const auto second = b.scheme();
  return first.has_value() == second.has_value() &&
         equalIgnoringASCIICase(first.value_or(""), second.value_or(""));
}

/// Whether the host may change when it is decoded: it has an escape or an "xn--" label.
bool isEncoded(std::string_view host) { return host.contains('%') || host.contains("--"); }

bool sameHosts(const URL& a, const URL& b) {
  const auto first = a.writtenHost();
  const auto second = b.writtenHost();
  if (!first || !second) return first.has_value() == second.has_value();
  if (*first == *second) return true;
  if (!isEncoded(*first) && !isEncoded(*second)) return equalIgnoringASCIICase(*first, *second);
  return lowercased(a.host().value_or("")) == lowercased(b.host().value_or(""));
}

[[gnu::always_inline]] inline bool samePaths(const URL& a, const URL& b) {
  const auto orRoot = [](std::string_view path) { return path.empty() ? std::string_view("/") : path; };
  const std::string_view first = orRoot(a.encodedPath());
  const std::string_view second = orRoot(b.encodedPath());
  if (first == second) return true;
  if (!first.contains('%') && !second.contains('%')) return false;
  return orRoot(a.path()) == orRoot(b.path());
}

}  // namespace

bool callbackURLsMatch(const URL& a, const URL& b) {
  return sameSchemes(a, b) && sameHosts(a, b) && samePaths(a, b);
}

CallbackURLDifference callbackURLDifference(const URL& a, const URL& b) {
  return {.scheme = !sameSchemes(a, b), .host = !sameHosts(a, b), .path = !samePaths(a, b)};
}

}  // namespace tilvanego::detail
