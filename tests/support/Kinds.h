#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TestHost.h"

namespace tilvanego::test {

/// In every request that has one. A test may choose another.
inline std::string_view secretToken = "t0ken";
inline constexpr std::string_view secretNotes = "n0tes";

inline URL parsedURL(std::string_view text) { return URL::parse(text).value(); }

inline PaymentCredentials credentials() {
  return PaymentCredentials(
      {.basicToken = std::string(secretToken), .accountId = "acc", .environment = "prod"});
}

/// "case", or "failure(errorName: description)", with "+" if a response came along.
template <class Result>
std::string summary(const Result& result) {
  std::string text(result.name());
  if (const auto* failure = std::get_if<typename Result::Failure>(&result)) {
    text += "(" + std::string(failure->error.name()) + ": " + failure->error.errorDescription() + ")";
  }
  return text + (result.response() ? "+" : "");
}

template <class Result>
std::optional<std::string> summary(const std::optional<Result>& result) {
  return result.transform([](const Result& one) { return summary(one); });
}

/// A completion that notes "NAME SUMMARY".
inline auto noting(TestHost& host, std::string_view name) {
  return [&host, name](const auto& result) { host.note(std::string(name) + " " + summary(result)); };
}

/// One of the nine kinds of operations by its public functions; results are given by their summaries.
struct Kind {
  std::string_view name;
  /// Starts it with the request id "A-1" and every other field filled in; notes the completion.
  std::function<void(TestHost& host, const URL& callbackURL)> start;
  bool (TilvaneGo::*isInProgress)() const;
  void (TilvaneGo::*cancel)();
  bool (TilvaneGo::*isCallback)(const URL& url) const;
  std::function<std::optional<std::string>(const TestHost& host, const URL& url)> result;
  std::function<std::optional<std::string>(const URL& url)> parse;
  std::string_view inProgress;
  /// As messages and error names say it.
  std::string_view words;
};

inline void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

/// All kinds, in the order in which a callback is offered to them.
const std::vector<Kind>& allKinds();
const Kind& kindNamed(std::string_view name);

}  // namespace tilvanego::test
