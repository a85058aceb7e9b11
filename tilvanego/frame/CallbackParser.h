#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/frame/CallbackKeys.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/frame/Cases.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::detail {

/// The fields of a response on their way into it: converts to the response where that is wanted, without a
/// detour.
template <typename Response>
struct Taken {
  typename Response::Fields& fields;
  operator Response() const { return Response(std::move(fields)); }
};

/// Words that a callback's status may be, and what makes the result that each of them gives.
template <typename Result>
struct StatusWords {
  static constexpr std::size_t maxWords = 5;

  std::array<std::string_view, maxWords> words;
  void (*makeResult)(std::optional<Result>& result, typename Result::Response::Fields& fields);
};

/// Each of the words gives `Case` with the response.
template <typename Result, typename Case>
[[nodiscard]] consteval StatusWords<Result> wordsFor(std::convertible_to<std::string_view> auto... words) {
  return {{words...}, [](std::optional<Result>& result, typename Result::Response::Fields& fields) {
            result.emplace(std::in_place_type<Case>, Taken<typename Result::Response>{fields});
          }};
}

/// What the status of a callback decides by: trimmed and in lower case. Empty if there is none. A status that
/// is so already isn't copied: the view is of `status` or of `storage`.
[[nodiscard]] inline std::string_view normalStatus(const std::optional<std::string>& status,
                                                   std::string& storage) {
  if (!status) return {};
  const auto isPlain = [](char c) { return (c >= 'a' && c <= 'z') || c == '_'; };
  if (std::ranges::all_of(*status, isPlain)) return *status;
  storage = lowercased(trimmed(*status));
  return storage;
}

/// The words among which `status` is; null if it is none that the operation knows.
template <typename Result, std::size_t Count>
[[nodiscard]] const StatusWords<Result>* wordsWith(const std::array<StatusWords<Result>, Count>& all,
                                                   std::string_view status) {
  for (const StatusWords<Result>& words : all) {
    if (std::ranges::find(words.words, status) != words.words.end()) return &words;
  }
  return nullptr;
}

/// Turns a callback URL into the result of `Operation`: the steps that all operations share, over its tables
/// `callbackKeys` and `statusWords`. Expectations may be null.
///
/// Nothing means that the URL isn't for this operation, and `url` stays as it is. Everything else that is
/// wrong with it is a failure.
template <typename Operation>
[[nodiscard]] std::optional<typename Operation::Result> parseCallback(URL&& url,
                                                                      const std::string* expectedRequestId,
                                                                      const URL* expectedCallbackURL) {
  using Result = typename Operation::Result;
  using Response = typename Operation::Response;
  using Error = typename Operation::Error;
  // Every way out returns this one, so that a result is built where the caller wants it and never moved.
  std::optional<Result> result;
  if (expectedCallbackURL != nullptr && !callbackURLsMatch(url, *expectedCallbackURL)) return result;

  typename Response::Fields fields{.callbackURL = std::move(url)};
  readCallback<Operation::callbackKeys, Operation::callbackKeyIndex>(fields.callbackURL, fields);
  const auto fail = [&](Error error) {
    result.emplace(std::in_place_type<typename Result::Failure>, std::move(error), Taken<Response>{fields});
  };

  std::string storage;
  const std::string_view status = normalStatus(fields.status, storage);
  if (expectedRequestId != nullptr && fields.requestId && *fields.requestId != *expectedRequestId) {
    fail(typename Error::RequestIdMismatch{*expectedRequestId, fields.requestId});
  } else if (status.empty()) {
    fail(typename Error::MissingStatus{});
  } else if (const auto* const words = wordsWith(Operation::statusWords, status)) {
    words->makeResult(result, fields);
  } else {
    fail(Operation::failed(fields));
  }
  return result;
}

}  // namespace tilvanego::detail
