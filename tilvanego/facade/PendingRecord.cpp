#include <tilvanego/facade/PendingRecord.h>

#include <algorithm>
#include <initializer_list>

#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/operations/Records.h>
#include <tilvanego/values/DateFormats.h>

namespace tilvanego::detail {
namespace {

using Dictionary = JSONValue::Dictionary;

constexpr std::int64_t pendingVersion = 1;
// Enough for the most records; a hostile text gets no more.
constexpr JSONLimits limits{
    .bytes = std::size_t{4} << 20, .elements = 1'024, .depth = 8, .memory = std::size_t{1} << 20};

/// Whether an object has no other keys than these.
bool hasOnly(const Dictionary& object, std::initializer_list<std::string_view> keys) {
  return std::ranges::all_of(
      object, [&](const auto& entry) { return std::ranges::find(keys, entry.first) != keys.end(); });
}

JSONValue written(const PaymentLaunchTransport& transport) {
  if (const auto* automatic = std::get_if<PaymentLaunchTransport::Automatic>(&transport.variant())) {
    return JSONValue::dictionary({{"automatic", automatic->maxInlineURLLength}});
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

JSONValue written(OperationKind kind, const PendingRecord& record) {
  Dictionary object{{"request", record.request}, {"startedAt", internetDateText(record.startedAt)}};
  if (record.transport) object.emplace("transport", written(*record.transport));
  if (record.callback && mayBeWritten(kind, record.callback->url)) {
    object.emplace("callback", record.callback->url.absoluteString());
    if (record.callback->isUnsealed) object.emplace("unsealed", true);
  }
  return object;
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
template <OperationKind kind>
std::optional<PendingRecord> readRecord(const JSONValue& object) {
  using Request = typename OperationRecords<kind>::Request;
  constexpr bool isPayment = kind == OperationKind::payment;
  const auto* fields = object["request"].dictionaryValue();
  const auto* startedText = object["startedAt"].stringValue();
  const auto startedAt = startedText ? readInternetDate(*startedText) : std::nullopt;
  const auto transport = readTransport(object["transport"]);
  const auto request = fields ? restoredRequest<Request>(*fields) : std::nullopt;
  if (!request || !startedAt || transport.has_value() != isPayment ||
      static_cast<bool>(object["transport"]) != isPayment ||
      !hasOnly(*object.dictionaryValue(), {"request", "startedAt", "transport", "callback", "unsealed"})) {
    return std::nullopt;
  }
  auto record = pendingRecord(*request, transport, *startedAt);
  if (!readCallback(object, record)) return std::nullopt;
  return record;
}

std::optional<PendingRecord> readRecord(OperationKind kind, const JSONValue& object) {
  std::optional<PendingRecord> record;
  forEachOperation([&]<OperationKind one>() {
    if (one == kind) record = readRecord<one>(object);
  });
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

bool mayBeWritten(OperationKind kind, const URL& callback) {
  if (kind == OperationKind::clearData) return false;
  return std::ranges::none_of(callback.rawQueryItems(), [](const RawQueryItem& item) {
    return secretNamed(item.decodedName()) == Secret::cardData;
  });
}

std::expected<std::string, std::string> writePendingRecords(
    OperationKind kind, const std::vector<const PendingRecord*>& records) {
  JSONValue::Array list;
  for (const PendingRecord* record : records) list.push_back(written(kind, *record));
  const auto all = JSONValue::dictionary(
      {{"operation", rawText(kind)}, {"operations", std::move(list)}, {"version", pendingVersion}});
  auto text = json::encode(all);
  if (!text) return std::unexpected("It can't be written as JSON: " + text.error().description() + ".");
  return *std::move(text);
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
