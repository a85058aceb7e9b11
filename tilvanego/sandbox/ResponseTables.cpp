#include <tilvanego/sandbox/ResponseTables.h>

#include <algorithm>
#include <cstdint>

#include <tilvanego/operations/Operations.h>

namespace tilvanego::sandbox {
namespace {

using Value = std::optional<std::string>;

/// A hash of the request (FNV-1a): the same request always has the same number, and two requests seldom share
/// one.
std::uint64_t hash(const LaunchLink& link) {
  std::uint64_t hash = 0xCBF2'9CE4'8422'2325;
  const auto add = [&](std::string_view text) {
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100'0000'01B3;
    hash = (hash ^ 0xFF) * 0x100'0000'01B3;
  };
  for (const auto& [name, value] : link.items()) {
    add(name);
    add(*value);
  }
  return hash;
}

std::string digits(std::uint64_t number, std::size_t count) {
  std::string text(count, '0');
  for (char& digit : text) {
    digit = static_cast<char>('0' + number % 10);
    number /= 10;
  }
  return text;
}

Value copied(const LaunchLink& link, std::string_view name) {
  const auto value = link.item(name);
  return value ? Value(*value) : std::nullopt;
}

/// The value of a field that only an approved operation has: always the same text.
template <const auto& Text>
Value ifApproved(const LaunchLink& /*link*/, Verdict verdict) {
  return verdict == Verdict::approved ? Value(Text) : std::nullopt;
}

Value transactionId(const LaunchLink& link, Verdict verdict) {
  // A cancelled or failed operation has not reached the processor.
  const bool processed = verdict == Verdict::approved || verdict == Verdict::declined;
  return processed ? Value(digits(hash(link), 12)) : std::nullopt;
}

Value approvalCode(const LaunchLink& link, Verdict verdict) {
  return verdict == Verdict::approved ? Value(digits(hash(link) >> 20U, 6)) : std::nullopt;
}

Value customId(const LaunchLink& link, Verdict /*verdict*/) { return copied(link, "custom_id"); }

Value message(const LaunchLink& /*link*/, Verdict verdict) {
  constexpr std::array texts{"Approved", "Declined by the issuer", "Cancelled on the terminal",
                             "The terminal reported a fault"};
  return texts.at(static_cast<std::size_t>(verdict));
}

Value errorMessage(const LaunchLink& link, Verdict verdict) {
  return verdict == Verdict::approved ? std::nullopt : message(link, verdict);
}

/// A response code of card processors (ISO 8583, data element 39).
Value errorCode(const LaunchLink& /*link*/, Verdict verdict) {
  constexpr std::array codes{"", "05", "17", "96"};
  return verdict == Verdict::approved ? std::nullopt : Value(codes.at(static_cast<std::size_t>(verdict)));
}

constexpr std::array paymentFields{
    ResponseField{"processor_message", message},
    ResponseField{"approval_code", approvalCode},
    ResponseField{"transaction_id", transactionId},
    ResponseField{"custom_id", customId},
};

constexpr std::array initializationFields{ResponseField{"message", message}};

constexpr std::string_view transactionCount = "2";
constexpr std::string_view transactions =
    R"([{"amount":12.5,"tip":1.25,"type":"sale","customId":"till-1","transactionDetails":{"status":"APPROVED",)"
    R"("transactionId":"100000000001","timestamp":"2025-03-01T10:15:00Z","approvedAmount":"13.75","authCode":"104217",)"
    R"("entryMode":"CONTACTLESS","cardBrand":"VISA","cardLast4":"1111"}},)"
    R"({"amount":7,"type":"refund","transactionDetails":{"status":"REFUNDED","transactionId":"100000000002",)"
    R"("timestamp":"2025-03-01T10:20:00Z","cardBrand":"MASTERCARD","cardLast4":"4444"}}])";
constexpr std::array transactionListFields{
    ResponseField{"transaction_count", ifApproved<transactionCount>},
    ResponseField{"transactionList", ifApproved<transactions>},
    ResponseField{"error_code", errorCode},
    ResponseField{"error_message", errorMessage},
};

constexpr std::array refundFields{
    ResponseField{"transaction_id", transactionId},
    ResponseField{"error_code", errorCode},
    ResponseField{"error_message", errorMessage},
};

constexpr std::string_view captureType = "capture";
constexpr std::array captureFields{
    ResponseField{"type", ifApproved<captureType>},
    ResponseField{"transaction_id", transactionId},
    ResponseField{"approved_amount",
                  [](const LaunchLink& link, Verdict verdict) {
                    return verdict == Verdict::approved ? copied(link, "amount") : std::nullopt;
                  }},
    ResponseField{"original_transaction_id",
                  [](const LaunchLink& link, Verdict /*verdict*/) { return copied(link, "transaction_id"); }},
    ResponseField{"error_code", errorCode},
    ResponseField{"error_message", errorMessage},
};

/// The data of a card with a test number; its digits are masked if the application declines to return them.
template <const auto& Clear, const auto& Masked>
Value cardData(const LaunchLink& /*link*/, Verdict verdict) {
  if (verdict == Verdict::approved) return Value(Clear);
  return verdict == Verdict::declined ? Value(Masked) : std::nullopt;
}

constexpr std::string_view pan = "4111111111111111";
constexpr std::string_view maskedPan = "411111******1111";
constexpr std::string_view track2 = ";4111111111111111=30121010000000000000?";
constexpr std::string_view maskedTrack2 = ";411111******1111=************?";
constexpr std::array clearDataFields{
    ResponseField{"clear_pan", cardData<pan, maskedPan>},
    ResponseField{"clear_track2", cardData<track2, maskedTrack2>},
    ResponseField{"error_code",
                  [](const LaunchLink& link, Verdict verdict) {
                    return verdict == Verdict::declined ? std::nullopt : errorCode(link, verdict);
                  }},
    ResponseField{"error_message",
                  [](const LaunchLink& link, Verdict verdict) {
                    return verdict == Verdict::declined ? std::nullopt : errorMessage(link, verdict);
                  }},
};

constexpr std::string_view readerSerial = "SANDBOX-0001";
constexpr std::array rebootFields{
    ResponseField{"response_code",
                  [](const LaunchLink& link, Verdict verdict) {
                    return Value(errorCode(link, verdict).value_or("0"));
                  }},
    ResponseField{"reader_serial", ifApproved<readerSerial>},
    ResponseField{"error_code", errorCode},
    ResponseField{"error_message", errorMessage},
};

constexpr std::string_view entryMode = "CONTACTLESS";
constexpr std::string_view cardBrand = "VISA";
constexpr std::string_view cardLast4 = "1111";
constexpr std::array saveFields{
    ResponseField{"transaction_id", transactionId},
    ResponseField{"approval_code", approvalCode},
    ResponseField{"processor_message", message},
    ResponseField{"entry_mode", ifApproved<entryMode>},
    ResponseField{"card_brand", ifApproved<cardBrand>},
    ResponseField{"card_last4", ifApproved<cardLast4>},
    ResponseField{"error_code", errorCode},
    ResponseField{"error_message", errorMessage},
};

/// The spellings that the library accepts for each item of an operation's callbacks.
template <typename One>
constexpr auto keysOf = [] {
  std::array<KeyNames, One::callbackKeys.size()> keys;
  std::ranges::transform(One::callbackKeys, keys.begin(), [](const auto& key) { return key.aliases; });
  return keys;
}();
template <>
constexpr auto keysOf<detail::TransactionListOperation> = [] {
  using One = detail::TransactionListOperation;
  std::array<KeyNames, One::callbackKeys.size() + 1> keys;
  std::ranges::transform(One::callbackKeys, keys.begin(), [](const auto& key) { return key.aliases; });
  keys.back() = One::listKeys.front().aliases;
  return keys;
}();

template <typename One>
constexpr auto wordsOf = [] {
  std::array<StatusRow, One::statusWords.size()> rows;
  std::ranges::transform(One::statusWords, rows.begin(), [](const auto& row) { return row.words; });
  return rows;
}();

constexpr auto keyNamed(std::span<const KeyNames> keys, std::string_view first) {
  return std::ranges::find(keys, first, [](const KeyNames& names) { return names.front(); });
}

/// Makes the table of one operation, with the status of a success, the items after request id and status, and
/// the status of a decline.
template <Operation operation>
consteval ResponseTable table(std::string_view approved, std::span<const ResponseField> fields,
                              std::string_view declined = "declined") {
  using One = detail::OperationOf<operation>;
  const std::span<const KeyNames> keys = keysOf<One>;
  for (const ResponseField& field : fields) {
    if (keyNamed(keys, field.name) == keys.end()) throw "the library knows no field of this name";
  }
  return {operation, approved, declined, fields, keys, wordsOf<One>};
}

constexpr std::array tables{
    table<Operation::payment>("approved", paymentFields),
    table<Operation::initialization>("initialized", initializationFields),
    table<Operation::transactionList>("success", transactionListFields),
    table<Operation::fullRefund>("refunded", refundFields),
    table<Operation::partialRefund>("refunded", refundFields),
    table<Operation::capture>("captured", captureFields),
    table<Operation::clearData>("returned", clearDataFields, "data_masked"),
    table<Operation::reboot>("rebooted", rebootFields),
    table<Operation::save>("saved", saveFields),
};
static_assert(std::ranges::equal(tables, operationKinds, {}, &ResponseTable::operation),
              "each operation has a row, in the order of the list");

}  // namespace

const ResponseTable& responseTable(Operation operation) {
  return tables.at(static_cast<std::size_t>(operation));
}

std::string_view spelledKey(const ResponseTable& table, std::string_view name, KeySpelling spelling) {
  return spelled(*keyNamed(table.keys, name), spelling);
}

}  // namespace tilvanego::sandbox
