#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Integer.h>
#include <tilvanego/values/RawQueryItems.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/URL.h>

/// Reads callbacks: stores their query items in the fields of a response, in one pass over the query for any
/// number of fields, and makes the result that the status means.
namespace tilvanego::detail {

/// Stores an item's value, which may be absent, in the field of a key. `fields` is the struct that the key
/// was made for: by a pointer without its type, one parser serves all of them.
using CallbackStore = void (*)(void* fields, URLTextView value);

/// A field of `Fields`, and the names that its query item may have.
template <typename Fields>
struct CallbackKey {
  static constexpr std::size_t maxAliases = 4;

  std::array<std::string_view, maxAliases> aliases;
  CallbackStore store;
};

/// The key of a text field: the value is decoded and stored as it is.
template <typename Fields, auto Member>
[[nodiscard]] consteval CallbackKey<Fields> textKey(std::string_view first, std::string_view second = {},
                                                    std::string_view third = {},
                                                    std::string_view fourth = {}) {
  return {{first, second, third, fourth},
          [](void* fields, URLTextView value) { value.decodeInto(static_cast<Fields*>(fields)->*Member); }};
}

/// The key of an integer field. A value that isn't an integer leaves the field empty; that is no failure.
template <typename Fields, auto Member>
[[nodiscard]] consteval CallbackKey<Fields> integerKey(std::string_view first, std::string_view second) {
  return {{first, second, {}, {}}, [](void* fields, URLTextView value) {
            static_cast<Fields*>(fields)->*Member =
                value.decoded().and_then([](const std::string& text) { return parseInteger(text); });
          }};
}

/// A name of letters, digits and "_". It is stored so that it can be compared with another name eight bytes
/// at a time, without regard to case.
class CallbackName {
 public:
  static constexpr std::size_t maxSize = 32;

  constexpr CallbackName() = default;
  consteval explicit CallbackName(std::string_view name) {
    for (const char c : name) {
      const bool isLetter = asciiLowercased(c) != asciiUppercased(c);
      caseBits_[size_] = isLetter ? 0x20 : 0;
      lower_[size_++] = asciiLowercased(c);
    }
  }

  [[nodiscard]] constexpr std::string_view lower() const { return {lower_.data(), size_}; }

  /// Requires that `name` has the same length. The last chunk may overlap the one before it, so that no
  /// single bytes remain.
  [[nodiscard]] bool equals(std::string_view name) const {
    if (size_ >= sizeof(std::uint64_t)) return equalsBy<std::uint64_t>(name);
    if (size_ >= sizeof(std::uint32_t)) return equalsBy<std::uint32_t>(name);
    return equalsBy<std::uint8_t>(name);
  }

 private:
  template <typename Chunk>
  [[nodiscard]] bool equalsBy(std::string_view name) const {
    for (std::size_t at = 0; at + sizeof(Chunk) < size_; at += sizeof(Chunk)) {
      if (differs<Chunk>(name, at)) return false;
    }
    return !differs<Chunk>(name, size_ - sizeof(Chunk));
  }

  template <typename Chunk>
  [[nodiscard]] bool differs(std::string_view name, std::size_t at) const {
    Chunk given;
    Chunk caseBits;
    Chunk lower;
    std::memcpy(&given, name.data() + at, sizeof given);
    std::memcpy(&caseBits, caseBits_.data() + at, sizeof caseBits);
    std::memcpy(&lower, lower_.data() + at, sizeof lower);
    return static_cast<Chunk>(given | caseBits) != lower;
  }

  std::array<char, maxSize> lower_{};
  std::array<char, maxSize> caseBits_{};
  std::uint8_t size_ = 0;
};

/// One name of a key, by the key's number.
struct CallbackAlias {
  CallbackName name;
  std::uint8_t key = 0;
};

/// Finds the key of an item by its name, without regard to case. The names are grouped by length, so that a
/// name is compared only with the few that have its length.
struct CallbackKeyTable {
  /// Sorted by length.
  std::span<const CallbackAlias> aliases;
  /// The number of the first alias of each length, and after the last length that of all aliases.
  std::span<const std::uint8_t, CallbackName::maxSize + 2> firstOfLength;
  /// That of each key; at most 32.
  std::span<const CallbackStore> stores;
};

/// Stores the items of the query that decide a field in `fields`, in their order. If several belong to one
/// field, the first decides it, even if it has no value.
void storeDecidingItems(const CallbackKeyTable& keys, const URL& url, void* fields);

/// Holds what the table of an operation's keys points into. It is built at compile time.
template <std::size_t KeyCount>
class CallbackKeyIndex {
 public:
  static_assert(KeyCount <= 32);

  template <typename Fields>
  consteval explicit CallbackKeyIndex(const std::array<CallbackKey<Fields>, KeyCount>& keys) {
    for (std::size_t length = 1; length <= CallbackName::maxSize; ++length) {
      firstOfLength_[length] = count_;
      for (std::size_t key = 0; key < KeyCount; ++key) {
        for (std::string_view alias : keys[key].aliases) {
          if (alias.size() == length)
            aliases_[count_++] = {CallbackName(alias), static_cast<std::uint8_t>(key)};
        }
      }
      firstOfLength_[length + 1] = count_;
    }
    for (std::size_t key = 0; key < KeyCount; ++key) stores_[key] = keys[key].store;
  }

  [[nodiscard]] constexpr CallbackKeyTable table() const {
    return {std::span(aliases_).first(count_), firstOfLength_, stores_};
  }

 private:
  std::array<CallbackAlias, KeyCount * CallbackKey<int>::maxAliases> aliases_{};
  std::array<std::uint8_t, CallbackName::maxSize + 2> firstOfLength_{};
  std::array<CallbackStore, KeyCount> stores_{};
  std::uint8_t count_ = 0;
};

/// Fills `fields` from the query of `url`.
template <const auto& Keys, typename Fields>
void readCallback(const URL& url, Fields& fields) {
  static_assert(std::same_as<CallbackKey<Fields>, std::remove_cvref_t<decltype(Keys[0])>>);
  static constexpr CallbackKeyIndex index(Keys);
  storeDecidingItems(index.table(), url, &fields);
}

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

// Rows of callback keys and status words that several operations use in their tables.

template <typename Fields>
inline constexpr auto requestIdKey =
    textKey<Fields, &Fields::requestId>("request_id", "requestId", "session_id", "sessionId");

template <typename Fields>
inline constexpr auto statusKey = textKey<Fields, &Fields::status>("status", "result");

template <typename Fields>
inline constexpr auto transactionIdKey =
    textKey<Fields, &Fields::transactionId>("transaction_id", "transactionId", "txn_id");

template <typename Fields>
inline constexpr auto errorCodeKey = textKey<Fields, &Fields::errorCode>("error_code", "errorCode", "code");

template <typename Fields>
inline constexpr auto errorMessageKey =
    textKey<Fields, &Fields::errorMessage>("error_message", "errorMessage", "message");

template <typename Result>
inline constexpr auto cancelledWords =
    wordsFor<Result, typename Result::Cancelled>("cancelled", "canceled", "cancel");

template <typename Result>
inline constexpr auto declinedWords =
    wordsFor<Result, typename Result::Declined>("declined", "decline", "rejected");

}  // namespace tilvanego::detail
