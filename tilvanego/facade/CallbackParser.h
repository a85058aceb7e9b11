#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/facade/CallbackKeys.h>
#include <tilvanego/facade/CallbackURLs.h>
#include <tilvanego/facade/Cases.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::detail {

/// Words that a callback's status may be, and the result that each of them gives.
template <class Result>
struct StatusWords {
  static constexpr std::size_t maxWords = 5;

  std::array<std::string_view, maxWords> words;
  Result (*result)(typename Result::Response::Fields&& fields);
};

/// Each of the words gives `Case` with the response.
template <class Result, class Case>
[[nodiscard]] consteval StatusWords<Result> wordsFor(std::convertible_to<std::string_view> auto... words) {
  return {{words...}, [](typename Result::Response::Fields&& fields) {
            return Result(Case{typename Result::Response(std::move(fields))});
          }};
}

/// What the status of a callback decides by: trimmed and in lower case. Empty if there is none.
[[nodiscard]] inline std::string normalStatus(const std::optional<std::string>& status) {
  return status ? lowercased(trimmed(*status)) : std::string();
}

/// Turns a callback URL into the result of `Operation`: the steps that all operations share, over its tables
/// `callbackKeys` and `statusWords`. Expectations may be null.
///
/// Nothing means that the URL isn't for this operation. Everything else that is wrong with it is a failure.
template <class Operation>
[[nodiscard]] std::optional<typename Operation::Result> parseCallback(URL url, const std::string* expectedRequestId,
                                                                      const URL* expectedCallbackURL) {
  using Result = typename Operation::Result;
  using Response = typename Operation::Response;
  using Error = typename Operation::Error;
  if (expectedCallbackURL != nullptr && !callbackURLsMatch(url, *expectedCallbackURL)) return std::nullopt;

  typename Response::Fields fields{.callbackURL = std::move(url)};
  readCallback<Operation::callbackKeys, Operation::callbackKeyIndex>(fields.callbackURL, fields);
  const auto failure = [&fields](Error error) -> Result {
    return typename Result::Failure{std::move(error), Response(std::move(fields))};
  };

  if (expectedRequestId != nullptr && fields.requestId && *fields.requestId != *expectedRequestId) {
    return failure(typename Error::RequestIdMismatch{*expectedRequestId, fields.requestId});
  }
  const std::string status = normalStatus(fields.status);
  if (status.empty()) return failure(typename Error::MissingStatus{});
  for (const auto& [words, result] : Operation::statusWords) {
    if (std::ranges::find(words, status) != words.end()) return result(std::move(fields));
  }
  return failure(Operation::failed(fields));
}

}  // namespace tilvanego::detail
