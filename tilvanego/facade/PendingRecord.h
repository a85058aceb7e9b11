#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/frame/SecretNames.h>
#include <tilvanego/json/JSONValue.h>
#include <tilvanego/payment/PaymentCredentials.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/RawText.h>
#include <tilvanego/values/URL.h>

/// What a pending store keeps of an operation, and its JSON form.
namespace tilvanego::detail {

/// A callback that came for an operation.
struct KeptCallback {
  URL url;
  /// The URL has the items of a result that lay on the pasteboard.
  bool isUnsealed = false;

  bool operator==(const KeptCallback&) const = default;
};

/// One operation that was started. Its request has neither credentials nor a secret nor notes.
struct PendingRecord {
  /// The fields of the request by their names: texts, numbers and truth values. An absent field is left out.
  JSONValue::Dictionary request;
  /// Of a payment alone.
  std::optional<PaymentLaunchTransport> transport;
  Date startedAt;
  std::optional<KeptCallback> callback;

  // Computed from the request.
  URL callbackURL;
  std::optional<std::string> requestId;
  std::optional<Decimal> amount;

  bool operator==(const PendingRecord&) const = default;
};

/// The most records of one kind in one text.
inline constexpr std::size_t maximumPendingRecords = 16;

/// The most bytes of one text, for every store.
inline constexpr std::size_t maximumPendingText = std::size_t{4} << 20;

/// How much of a record is in a text.
struct RecordInText {
  enum class Part { whole, allButTheCallback, nothing };
  Part part = Part::whole;
  /// One sentence, unless it is whole.
  std::string reason;
};

struct PendingText {
  std::string text;
  /// One for each record, in their order.
  std::vector<RecordInText> records;
};

/// Writes the records of one kind as one JSON text, in their order. Leaves out a callback that must not be
/// written (`obstacleTo`): a record without card data counts as whole. A record that can't be written doesn't
/// prevent the others: one with a text that isn't UTF-8, or beyond the limits above, which the first ones use
/// up.
[[nodiscard]] PendingText writePendingRecords(OperationKind kind,
                                              const std::vector<const PendingRecord*>& records);

/// Reads what `writePendingRecords` wrote for the same kind. Fails with a sentence for anything else: it
/// shows nothing of the text.
[[nodiscard]] std::expected<std::vector<PendingRecord>, std::string> readPendingRecords(
    OperationKind kind, std::string_view text);

/// Why a callback is kept in memory alone: it names card data, or has a compressed payload that can't be
/// read, and so could have some.
enum class WritingObstacle { none, cardData, unreadable };

/// Looks for the names of card data in all of the callback's text, however escaped, and in its compressed
/// payload. A name without a value counts, too: rather too little is written than too much.
[[nodiscard]] WritingObstacle obstacleTo(OperationKind kind, const URL& callback);

namespace pending_field {

/// Whether a field of this name and type is kept.
template <typename T>
[[nodiscard]] bool isKept(std::string_view name) {
  constexpr bool areCredentials =
      std::same_as<T, PaymentCredentials> || std::same_as<T, std::optional<PaymentCredentials>>;
  return !areCredentials && name != "notes" && !isSecretName(name);
}

/// How a value of type `T` is written and read. `blank` is the value of a field that isn't kept.
template <typename T>
struct Form;

template <>
struct Form<std::string> {
  static JSONValue write(const std::string& value) { return value; }
  static std::optional<std::string> read(const JSONValue& value) {
    const std::string* text = value.stringValue();
    return text ? std::optional(*text) : std::nullopt;
  }
  static std::optional<std::string> blank() { return std::string(); }
};

template <>
struct Form<URL> {
  static JSONValue write(const URL& value) { return value.absoluteString(); }
  static std::optional<URL> read(const JSONValue& value) {
    const std::string* text = value.stringValue();
    if (text == nullptr) return std::nullopt;
    auto url = URL::parse(*text);
    return url ? std::optional(*std::move(url)) : std::nullopt;
  }
  static std::optional<URL> blank() { return std::nullopt; }
};

template <>
struct Form<Decimal> {
  static JSONValue write(const Decimal& value) { return value.text(); }
  static std::optional<Decimal> read(const JSONValue& value) {
    const std::string* text = value.stringValue();
    return text ? Decimal::parseExact(*text) : std::nullopt;
  }
  static std::optional<Decimal> blank() { return Decimal(0); }
};

template <>
struct Form<std::int64_t> {
  static JSONValue write(std::int64_t value) { return value; }
  static std::optional<std::int64_t> read(const JSONValue& value) { return value.intValue(); }
  static std::optional<std::int64_t> blank() { return 0; }
};

template <>
struct Form<bool> {
  static JSONValue write(bool value) { return value; }
  static std::optional<bool> read(const JSONValue& value) { return value.boolValue(); }
  static std::optional<bool> blank() { return false; }
};

template <HasRawText Enumeration>
struct Form<Enumeration> {
  static JSONValue write(Enumeration value) { return rawText(value); }
  static std::optional<Enumeration> read(const JSONValue& value) {
    const std::string* text = value.stringValue();
    return text ? fromRawText<Enumeration>(*text) : std::nullopt;
  }
  static std::optional<Enumeration> blank() { return allCases<Enumeration>().front(); }
};

/// Never written.
template <>
struct Form<PaymentCredentials> {
  static JSONValue write(const PaymentCredentials&) { return nullptr; }
  static std::optional<PaymentCredentials> read(const JSONValue&) { return std::nullopt; }
  static std::optional<PaymentCredentials> blank() {
    return PaymentCredentials(PaymentCredentials::Fields{});
  }
};

template <typename T>
struct Form<std::optional<T>> {
  static JSONValue write(const std::optional<T>& value) { return value ? Form<T>::write(*value) : nullptr; }
  static std::optional<std::optional<T>> read(const JSONValue& value) {
    auto present = Form<T>::read(value);
    return present ? std::optional(std::move(present)) : std::nullopt;
  }
  static std::optional<std::optional<T>> blank() { return std::optional<T>(); }
};

template <typename T>
inline constexpr bool isOptional = false;
template <typename T>
inline constexpr bool isOptional<std::optional<T>> = true;

/// Reads one field. Counts it if the request has it. No value: the request is none.
template <typename T>
[[nodiscard]] std::optional<T> read(const JSONValue::Dictionary& request, std::string_view name,
                                    std::size_t& found) {
  if (!isKept<T>(name)) return Form<T>::blank();
  const auto entry = request.find(name);
  if (entry == request.end()) return isOptional<T> ? Form<T>::blank() : std::nullopt;
  ++found;
  return Form<T>::read(entry->second);
}

/// Amounts that aren't decimals, as a capture may have them, are none.
[[nodiscard]] std::optional<Decimal> amountIn(const JSONValue::Dictionary& request);
[[nodiscard]] std::optional<std::string> requestIdIn(const JSONValue::Dictionary& request);

}  // namespace pending_field

template <typename Request>
[[nodiscard]] PendingRecord pendingRecord(const Request& request,
                                          const std::optional<PaymentLaunchTransport>& transport,
                                          const Date& startedAt) {
  JSONValue::Dictionary fields;
  visitFields(request.fields(), [&fields](std::string_view name, const auto& value) {
    using Type = std::remove_cvref_t<decltype(value)>;
    if (!pending_field::isKept<Type>(name)) return;
    auto written = pending_field::Form<Type>::write(value);
    if (!written.isNull()) fields.emplace(name, std::move(written));
  });
  PendingRecord record{.request = std::move(fields),
                       .transport = transport,
                       .startedAt = startedAt,
                       .callback = std::nullopt,
                       .callbackURL = request.callbackURL(),
                       .requestId = std::nullopt,
                       .amount = std::nullopt};
  record.requestId = pending_field::requestIdIn(record.request);
  record.amount = pending_field::amountIn(record.request);
  return record;
}

/// The request of a record, without what isn't kept: optional fields are absent, required credentials are
/// blank. Nothing if a field is missing, unknown or of another type.
template <typename Request>
[[nodiscard]] std::optional<Request> restoredRequest(const JSONValue::Dictionary& request) {
  using Fields = typename Request::Fields;
  std::size_t found = 0;
  return [&]<std::size_t... index>(std::index_sequence<index...>) -> std::optional<Request> {
    std::tuple values{
        pending_field::read<FieldTypeOf<Fields, index>>(request, fieldName<Fields, index>, found)...};
    if (!(std::get<index>(values).has_value() && ...) || found != request.size()) return std::nullopt;
    return Request(Fields{*std::move(std::get<index>(values))...});
  }(std::make_index_sequence<Fields::fieldCount>());
}

}  // namespace tilvanego::detail
