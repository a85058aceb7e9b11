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

/// Converts to the response that is made of `fields`. So the response is built in its place inside a result,
/// and isn't moved there.
template <typename Response>
struct ResponseFrom {
  typename Response::Fields& fields;
  operator Response() const { return Response(std::move(fields)); }
};

/// Status words with the same meaning, and the function that makes their result.
template <typename Result>
struct StatusWords {
  static constexpr std::size_t maxWords = 5;

  std::array<std::string_view, maxWords> words;
  void (*makeResult)(std::optional<Result>& result, typename Result::Response::Fields& fields);
};

/// The result of each of the words is `Case` with the response.
template <typename Result, typename Case>
[[nodiscard]] consteval StatusWords<Result> wordsFor(std::convertible_to<std::string_view> auto... words) {
  return {{words...}, [](std::optional<Result>& result, typename Result::Response::Fields& fields) {
            result.emplace(std::in_place_type<Case>, ResponseFrom<typename Result::Response>{fields});
          }};
}

/// Returns the status, trimmed and in lower case; empty if there is none. The view is of `status` if that
/// needs no change, and of `storage` otherwise.
[[nodiscard]] inline std::string_view normalStatus(const std::optional<std::string>& status,
                                                   std::string& storage) {
  if (!status) return {};
  const auto isPlain = [](char c) { return (c >= 'a' && c <= 'z') || c == '_'; };
  if (std::ranges::all_of(*status, isPlain)) return *status;
  storage = lowercased(trimmed(*status));
  return storage;
}

/// Returns the entry of `all` that contains `status`, or null.
template <typename Result, std::size_t Count>
[[nodiscard]] const StatusWords<Result>* wordsWith(const std::array<StatusWords<Result>, Count>& all,
                                                   std::string_view status) {
  for (const StatusWords<Result>& words : all) {
    if (std::ranges::find(words.words, status) != words.words.end()) return &words;
  }
  return nullptr;
}

/// Reads the result of `Operation` from a callback URL, by the operation's tables `callbackKeys` and
/// `statusWords`. The expected request id and callback URL may be null.
///
/// Returns nothing if the URL isn't for this operation; `url` is then unchanged. Any other fault of the URL
/// is a result, a `Failure`.
template <typename Operation>
[[nodiscard]] std::optional<typename Operation::Result> parseCallback(URL&& url,
                                                                      const std::string* expectedRequestId,
                                                                      const URL* expectedCallbackURL) {
  using Result = typename Operation::Result;
  using Response = typename Operation::Response;
  using Error = typename Operation::Error;
  // Every `return` names this variable, so that the result is built in the caller's place and is never moved.
  std::optional<Result> result;
  if (expectedCallbackURL != nullptr && !callbackURLsMatch(url, *expectedCallbackURL)) return result;

  typename Response::Fields fields{.callbackURL = std::move(url)};
  readCallback<Operation::callbackKeys>(fields.callbackURL, fields);
  const auto fail = [&](Error error) {
    result.emplace(std::in_place_type<typename Result::Failure>, std::move(error),
                   ResponseFrom<Response>{fields});
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
