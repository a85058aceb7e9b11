#include <tilvanego/facade/PendingRecord.h>

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <system_error>

#include <tilvanego/facade/Pending.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/frame/QueryLookup.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/Gzip.h>
#include <tilvanego/values/Base64.h>
#include <tilvanego/values/DateFormats.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {
namespace {

using Dictionary = JSONValue::Dictionary;

constexpr std::int64_t pendingVersion = 1;
// Enough for the most records; a hostile text gets no more.
constexpr JSONLimits limits{
    .bytes = maximumPendingText, .elements = 1'024, .depth = 8, .memory = std::size_t{1} << 20};

/// Whether an object has no other keys than these.
bool hasOnly(const Dictionary& object, std::initializer_list<std::string_view> keys) {
  return std::ranges::all_of(
      object, [&](const auto& entry) { return std::ranges::find(keys, entry.first) != keys.end(); });
}

JSONValue written(const PaymentLaunchTransport& transport) {
  if (const auto* automatic = std::get_if<PaymentLaunchTransport::Automatic>(&transport.variant())) {
    Dictionary object;
    object.emplace("automatic", automatic->maxInlineURLLength);
    return object;
  }
  return transport.text();
}

std::optional<PaymentLaunchTransport> readTransport(JSONLookup value) {
  using Transport = PaymentLaunchTransport;
  for (const auto& one : {Transport::urlScheme(), Transport::gzip(), Transport::pasteboard()}) {
    if (const auto* text = value.stringValue(); text && *text == one.text()) return one;
  }
  const auto* object = value.dictionaryValue();
  const auto length = value["automatic"].intValue();
  return object && object->size() == 1 && length ? std::optional(Transport::automatic(*length))
                                                 : std::nullopt;
}

JSONValue written(const PendingRecord& record, bool withCallback) {
  Dictionary object;
  object.emplace("request", record.request);
  object.emplace("startedAt", internetDateText(record.startedAt));
  if (record.transport) object.emplace("transport", written(*record.transport));
  if (withCallback) {
    object.emplace("callback", record.callback->url.absoluteString());
    if (record.callback->isUnsealed) object.emplace("unsealed", true);
  }
  return object;
}

/// Appends the JSON of a record to `text`, which may have `limit` bytes.
RecordInText append(std::string& text, std::size_t limit, OperationKind kind, const PendingRecord& record) {
  using enum RecordInText::Part;
  const auto obstacle = record.callback ? obstacleTo(kind, record.callback->url) : WritingObstacle::none;
  const bool hasCallback = record.callback && obstacle == WritingObstacle::none;
  RecordInText in;
  for (const bool withCallback : {true, false}) {
    if (withCallback && !hasCallback) continue;
    const auto one = json::encode(written(record, withCallback));
    if (one && one->size() < limit - text.size()) {
      text.append(text.ends_with('[') ? "" : ",").append(*one);
      in.part = withCallback == hasCallback ? whole : allButTheCallback;
      if (obstacle == WritingObstacle::unreadable) {
        in = {allButTheCallback, "What it has compressed can't be read, and could be card data."};
      }
      return in;
    }
    in.reason = one ? "The records of this kind have more than 4 MiB."
                    : "It can't be written as JSON: " + one.error().description() + ".";
  }
  in.part = nothing;
  return in;
}

/// The byte that an escape of a URL or of JSON stands for at the beginning of a text, and its length.
std::optional<std::pair<char, std::size_t>> escapeAt(std::string_view text) {
  const bool isJSON = text.starts_with("\\u");
  if (!isJSON && !text.starts_with('%')) return std::nullopt;
  const std::string_view digits = text.substr(isJSON ? 2 : 1, isJSON ? 4 : 2);
  const char* const end = digits.data() + digits.size();
  unsigned value = 0;
  const auto read = std::from_chars(digits.data(), end, value, 16);
  if (read.ec != std::errc() || read.ptr != end || digits.size() != (isJSON ? 4 : 2) ||
      value > (isJSON ? 0x7FU : 0xFFU)) {
    return std::nullopt;
  }
  return std::pair(static_cast<char>(value), digits.size() + (isJSON ? 2 : 1));
}

/// Decodes the escapes in place, once. Returns false if there are none.
bool unescape(std::string& text) {
  std::size_t end = 0;
  std::size_t next = 0;
  while (next < text.size()) {
    const auto [byte, length] =
        escapeAt(std::string_view(text).substr(next)).value_or(std::pair(text[next], std::size_t{1}));
    text[end++] = byte;
    next += length;
  }
  const bool isChanged = end < text.size();
  text.resize(end);
  return isChanged;
}

/// Whether a word of the text names card data.
bool hasCardDataName(std::string_view text) {
  const auto isInWord = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
  };
  for (auto at = text.begin(); at != text.end();) {
    const auto word = std::find_if(at, text.end(), isInWord);
    at = std::find_if_not(word, text.end(), isInWord);
    if (secretNamed(std::string_view(word, at)) == Secret::cardData) return true;
  }
  return false;
}

/// The same with all escapes decoded. A text that is escaped ever again counts as one with card data.
bool namesCardData(std::string text) {
  constexpr int mostEscapes = 8;
  const WipedAtEnd wiped(text);
  for (int number = 0; number <= mostEscapes; ++number) {
    if (hasCardDataName(text)) return true;
    if (!unescape(text)) return false;
  }
  return true;
}

/// Whether a compressed result has a payload among its items again.
bool hasInnerPayload(const JSONValue& envelope) {
  const auto* items = envelope["payload"]["query_items"].dictionaryValue();
  return items != nullptr && std::ranges::any_of(*items, [](const auto& item) {
           return secretNamed(item.first) == Secret::payload;
         });
}

/// Whether bytes follow the gzip stream of a payload, which no reader looks at.
bool hasTail(const URL& callback) {
  auto payload = queryValue(callback, {"payload"});
  const WipedAtEnd wipedPayload(payload);
  auto compressed = payload ? base64URLDecode(*payload) : std::nullopt;
  const WipedAtEnd wiped(compressed);
  if (!compressed || compressed->empty()) return false;
  compressed->pop_back();
  auto unpacked = gzipDecompress(*compressed, maxPayloadJSON);
  const WipedAtEnd wipedText(unpacked);
  return unpacked.has_value();
}

/// Stores the callback of a record; false if it isn't one.
bool readCallback(const JSONValue& object, PendingRecord& record) {
  const JSONLookup callback = object["callback"];
  const JSONLookup unsealed = object["unsealed"];
  if (!callback) return !unsealed;
  auto url = pending_field::Form<URL>::read(*callback);
  if (!url || !callbackURLsMatch(*url, record.callbackURL) || (unsealed && unsealed.boolValue() != true)) {
    return false;
  }
  record.callback = KeptCallback{*std::move(url), static_cast<bool>(unsealed)};
  return true;
}

/// The record that a request and its facts make.
std::optional<PendingRecord> readRecord(OperationKind kind, const JSONValue& object) {
  const bool isPayment = kind == OperationKind::payment;
  const auto* fields = object["request"].dictionaryValue();
  const auto* startedText = object["startedAt"].stringValue();
  const auto startedAt = startedText ? readInternetDate(*startedText) : std::nullopt;
  const auto transport = readTransport(object["transport"]);
  if (fields == nullptr || !startedAt || transport.has_value() != isPayment ||
      static_cast<bool>(object["transport"]) != isPayment ||
      !hasOnly(*object.dictionaryValue(), {"request", "startedAt", "transport", "callback", "unsealed"})) {
    return std::nullopt;
  }
  auto record = operationType(kind).recordFrom(*fields, transport, *startedAt);
  if (!record || !readCallback(object, *record)) return std::nullopt;
  return record;
}

}  // namespace

std::optional<Decimal> pending_field::amountIn(const JSONValue::Dictionary& request) {
  const auto entry = request.find("amount");
  return entry == request.end() ? std::nullopt : Form<Decimal>::read(entry->second);
}

std::optional<std::string> pending_field::requestIdIn(const JSONValue::Dictionary& request) {
  const auto entry = request.find("requestId");
  return entry == request.end() ? std::nullopt : Form<std::string>::read(entry->second);
}

WritingObstacle obstacleTo(OperationKind kind, const URL& callback) {
  using enum WritingObstacle;
  if (kind == OperationKind::clearData || namesCardData(callback.absoluteString())) return cardData;
  const auto payloads = std::ranges::count_if(callback.rawQueryItems(), [](const RawQueryItem& item) {
    return secretNamed(item.decodedName()) == Secret::payload;
  });
  if (payloads == 0) return none;
  auto unpacked = payloadJSON(callback);
  const WipedAtEnd wiped(unpacked);
  if (payloads > 1 || !unpacked || hasTail(callback)) return unreadable;
  const auto envelope = json::decode<JSONValue>(*unpacked);
  if (!envelope || hasInnerPayload(*envelope)) return unreadable;
  return namesCardData(*unpacked) ? cardData : none;
}

PendingText writePendingRecords(OperationKind kind, const std::vector<const PendingRecord*>& records) {
  const std::string end = "],\"version\":" + std::to_string(pendingVersion) + "}";
  PendingText all{.text = "{\"operation\":\"" + std::string(rawText(kind)) + "\",\"operations\":[",
                  .records = {}};
  std::size_t count = 0;
  for (const PendingRecord* record : records) {
    using enum RecordInText::Part;
    auto in = count < maximumPendingRecords ? append(all.text, maximumPendingText - end.size(), kind, *record)
                                            : RecordInText{nothing, "Too many others are kept."};
    if (in.part != nothing) ++count;
    all.records.push_back(std::move(in));
  }
  all.text += end;
  return all;
}

std::expected<std::vector<PendingRecord>, std::string> readPendingRecords(OperationKind kind,
                                                                          std::string_view text) {
  const auto all = json::decode<JSONValue>(text, nullptr, limits);
  if (!all) return std::unexpected("It isn't JSON, or beyond the limits.");
  const auto* operation = (*all)["operation"].stringValue();
  const auto* list = (*all)["operations"].arrayValue();
  if ((*all)["version"].intValue() != pendingVersion) {
    return std::unexpected("Another version of the library wrote it.");
  }
  if (operation == nullptr || *operation != rawText(kind)) {
    return std::unexpected("It is for another operation.");
  }
  if (list == nullptr || list->size() > maximumPendingRecords || all->dictionaryValue()->size() != 3) {
    return std::unexpected("It doesn't hold what the library writes.");
  }
  std::vector<PendingRecord> records;
  for (const JSONValue& object : *list) {
    auto record = object.isDictionary() ? readRecord(kind, object) : std::nullopt;
    if (!record) return std::unexpected("It doesn't hold what the library writes.");
    records.push_back(*std::move(record));
  }
  return records;
}

}  // namespace tilvanego::detail
