// Reading and writing a transaction's record of about 2.4 KB, beside simdjson's DOM (parsed, then copied into
// the same structs through the same key tables) and RapidJSON's writer (called field by field, its buffer
// kept, the text copied out). Decoding has three keys that no struct knows.

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>

namespace {

namespace json = tilvanego::json;
using Text = std::optional<std::string>;

struct Amounts {
  std::string currency;
  std::string approved;
  std::string requested;
  Text gratuity;
  Text cashback;
  Text surcharge;
  Text additionalFee;
  Text balance;
  bool operator==(const Amounts&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(
        json::field("currency", &Amounts::currency), json::field("approved", &Amounts::approved),
        json::field("requested", &Amounts::requested), json::field("gratuity", &Amounts::gratuity),
        json::field("cashback", &Amounts::cashback), json::field("surcharge", &Amounts::surcharge),
        json::field("additionalFee", &Amounts::additionalFee), json::field("balance", &Amounts::balance));
  }
};

struct Authorization {
  Text message;
  Text code;
  Text avsResponseCode;
  Text cvv2ResponseCode;
  Text processorMessage;
  Text networkReference;
  std::optional<std::int64_t> attempts;
  std::optional<bool> partial;
  std::optional<double> riskScore;
  bool operator==(const Authorization&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(
        json::field("message", &Authorization::message), json::field("code", &Authorization::code),
        json::field("avsResponseCode", &Authorization::avsResponseCode),
        json::field("cvv2ResponseCode", &Authorization::cvv2ResponseCode),
        json::field("processorMessage", &Authorization::processorMessage),
        json::field("networkReference", &Authorization::networkReference),
        json::field("attempts", &Authorization::attempts), json::field("partial", &Authorization::partial),
        json::field("riskScore", &Authorization::riskScore));
  }
};

struct Card {
  Text brand;
  Text type;
  Text entryMode;
  Text last4;
  Text first6;
  Text cardholderName;
  std::optional<std::int64_t> expiryMonth;
  std::optional<std::int64_t> expiryYear;
  Text token;
  Text applicationId;
  Text applicationName;
  Text issuerCountry;
  Text paymentAccountReference;
  std::optional<bool> debit;
  std::optional<bool> commercial;
  bool operator==(const Card&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(
        json::field("brand", &Card::brand), json::field("type", &Card::type),
        json::field("entryMode", &Card::entryMode), json::field("last4", &Card::last4),
        json::field("first6", &Card::first6), json::field("cardholderName", &Card::cardholderName),
        json::field("expiryMonth", &Card::expiryMonth), json::field("expiryYear", &Card::expiryYear),
        json::field("token", &Card::token), json::field("applicationId", &Card::applicationId),
        json::field("applicationName", &Card::applicationName),
        json::field("issuerCountry", &Card::issuerCountry),
        json::field("paymentAccountReference", &Card::paymentAccountReference),
        json::field("debit", &Card::debit), json::field("commercial", &Card::commercial));
  }
};

struct Address {
  std::string address1;
  Text address2;
  std::string city;
  std::string state;
  std::string zip;
  Text country;
  Text company;
  Text recipient;
  bool operator==(const Address&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(json::field("address1", &Address::address1),
                        json::field("address2", &Address::address2), json::field("city", &Address::city),
                        json::field("state", &Address::state), json::field("zip", &Address::zip),
                        json::field("country", &Address::country), json::field("company", &Address::company),
                        json::field("recipient", &Address::recipient));
  }
};

struct Customer {
  Text name;
  Text email;
  Text phone;
  Text language;
  std::optional<bool> returning;
  std::optional<std::int64_t> visits;
  std::optional<Address> billingAddress;
  bool operator==(const Customer&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(json::field("name", &Customer::name), json::field("email", &Customer::email),
                        json::field("phone", &Customer::phone), json::field("language", &Customer::language),
                        json::field("returning", &Customer::returning),
                        json::field("visits", &Customer::visits),
                        json::field("billingAddress", &Customer::billingAddress));
  }
};

struct Event {
  Text action;
  Text requestId;
  Text correlationId;
  Text timestamp;
  bool operator==(const Event&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(json::field("action", &Event::action), json::field("requestId", &Event::requestId),
                        json::field("correlationId", &Event::correlationId),
                        json::field("timestamp", &Event::timestamp));
  }
};

struct Trace {
  Text cashier;
  Text clientIp;
  Text sourceIp;
  Text source;
  Text customId;
  Text timestamp;
  Text extTransactionId;
  Text networkTransactionId;
  std::optional<double> latitude;
  std::optional<double> longitude;
  std::vector<Event> history;
  bool operator==(const Trace&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(json::field("cashier", &Trace::cashier), json::field("clientIp", &Trace::clientIp),
                        json::field("sourceIp", &Trace::sourceIp), json::field("source", &Trace::source),
                        json::field("customId", &Trace::customId),
                        json::field("timestamp", &Trace::timestamp),
                        json::field("extTransactionId", &Trace::extTransactionId),
                        json::field("networkTransactionId", &Trace::networkTransactionId),
                        json::field("latitude", &Trace::latitude),
                        json::field("longitude", &Trace::longitude), json::field("history", &Trace::history));
  }
};

struct Transaction {
  std::string id;
  std::string status;
  Text tenderType;
  Text transactionType;
  Text kind;
  Text currencySymbol;
  Text description;
  Text invoiceNumber;
  Text terminalId;
  Text merchantId;
  Text storeName;
  Text softwareVersion;
  std::optional<std::int64_t> batchNumber;
  std::optional<std::int64_t> sequence;
  std::optional<std::int64_t> durationMilliseconds;
  std::optional<bool> offline;
  std::optional<bool> signatureRequired;
  std::optional<bool> receiptPrinted;
  std::optional<double> exchangeRate;
  Text createdAt;
  Text updatedAt;
  Text settledAt;
  Text batchId;
  Text note;
  Amounts amounts;
  std::optional<Authorization> auth;
  std::optional<Card> card;
  std::optional<Customer> customer;
  std::optional<Trace> trace;
  bool operator==(const Transaction&) const = default;
  static constexpr auto jsonFields() {
    return json::fields(
        json::field("id", &Transaction::id), json::field("status", &Transaction::status),
        json::field("tenderType", &Transaction::tenderType),
        json::field("transactionType", &Transaction::transactionType),
        json::field("kind", &Transaction::kind), json::field("currencySymbol", &Transaction::currencySymbol),
        json::field("description", &Transaction::description),
        json::field("invoiceNumber", &Transaction::invoiceNumber),
        json::field("terminalId", &Transaction::terminalId),
        json::field("merchantId", &Transaction::merchantId),
        json::field("storeName", &Transaction::storeName),
        json::field("softwareVersion", &Transaction::softwareVersion),
        json::field("batchNumber", &Transaction::batchNumber),
        json::field("sequence", &Transaction::sequence),
        json::field("durationMilliseconds", &Transaction::durationMilliseconds),
        json::field("offline", &Transaction::offline),
        json::field("signatureRequired", &Transaction::signatureRequired),
        json::field("receiptPrinted", &Transaction::receiptPrinted),
        json::field("exchangeRate", &Transaction::exchangeRate),
        json::field("createdAt", &Transaction::createdAt), json::field("updatedAt", &Transaction::updatedAt),
        json::field("settledAt", &Transaction::settledAt), json::field("batchId", &Transaction::batchId),
        json::field("note", &Transaction::note), json::field("amounts", &Transaction::amounts),
        json::field("auth", &Transaction::auth), json::field("card", &Transaction::card),
        json::field("customer", &Transaction::customer), json::field("trace", &Transaction::trace));
  }
};

Transaction sample() {
  return {
      "txn_7f3c9a2e51d84b06",
      "APPROVED",
      "CREDIT",
      "sale",
      "pos",
      "US$",
      "Two coffees and a croissant",
      "INV-2024-000183",
      "TERM-0042",
      "M-998877",
      "Corner Caf\u00e9 & Bakery",
      "4.18.2",
      1834,
      77,
      2412,
      false,
      true,
      true,
      1.0825,
      "2024-03-05T10:20:30Z",
      "2024-03-05T10:20:33Z",
      "2024-03-06T02:00:00Z",
      "B-20240305",
      "paid at the counter",
      {"USD", "1248.50", "1248.50", "12.00", "0.00", "1.25", "0.35", "310.10"},
      Authorization{"APPROVED", "084511", "Y", "M", "APPROVED 00", "NR-558102", 1, false, 0.17},
      Card{"VISA", "CREDIT", "CONTACTLESS", "4242", "424242", "ALEX EXAMPLE", 11, 2027, "tok_92ab74c1d0e8",
           "A0000000031010", "VISA CREDIT", "US", "PAR5001230045600789", false, false},
      Customer{
          "Alex Example", "alex@example.com", "+15551234567", "en", true, 14,
          Address{"500 Market Street", "Floor 3", "Springfield", "IL", "62701", "US", "Example Inc", "Alex"}},
      Trace{"anna",
            "192.0.2.10",
            "198.51.100.7",
            "till-3",
            "order-5512",
            "2024-03-05T10:20:29Z",
            "ext-0000017",
            "NET123456789",
            39.7817,
            -89.6501,
            {{"authorization", "rq-1", "co-100041", "2024-03-05T10:20:30Z"},
             {"capture", "rq-2", "co-100042", "2024-03-05T10:20:31Z"},
             {"transaction", "rq-3", "co-100043", "2024-03-05T10:20:33Z"}}}};
}

// The record's JSON with three keys that the structs don't know: a text, a list and an object.
std::string received(bool sorted) {
  std::string text = *json::encode(sample(), {.sortedKeys = sorted});
  const auto insert = [&](std::string_view before, std::string_view member) {
    text.insert(text.find(before), member);
  };
  insert(R"("batchNumber")", R"("deviceModel":"TX-900 rev B",)");
  insert(R"("processorMessage")", R"("hints":["retry","none"],)");
  insert(R"("source")", R"("agent":{"name":"till","build":311},)");
  return text;
}

// One value of the DOM into one member, by the member's type.
template <typename T>
void assign(simdjson::dom::element element, T& member) {
  if constexpr (json::detail::OptionalTraits<T>::value) {
    if (!element.is_null()) assign(element, member.emplace());
  } else if constexpr (std::is_same_v<T, std::string>) {
    member = std::string_view(element.get_string().value());
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    member = element.get_int64().value();
  } else if constexpr (std::is_same_v<T, double>) {
    member = element.get_double().value();
  } else if constexpr (std::is_same_v<T, bool>) {
    member = element.get_bool().value();
  } else if constexpr (json::IsRecord<T>) {
    using Assign = void (*)(simdjson::dom::element, T&);
    static constexpr auto assigners = []<std::size_t... index>(std::index_sequence<index...>) {
      return std::array<Assign, sizeof...(index)>{[](simdjson::dom::element value, T& record) {
        assign(value, record.*std::get<index>(json::recordFields<T>).member);
      }...};
    }(std::make_index_sequence<json::fieldCount<T>>());
    const simdjson::dom::object object = element.get_object().value();
    for (const auto [key, value] : object) {
      const std::size_t field = json::detail::Description<T>::table.find(key);
      if (field < assigners.size()) assigners[field](value, member);
    }
  } else {
    const simdjson::dom::array array = element.get_array().value();
    for (const simdjson::dom::element value : array) assign(value, member.emplace_back());
  }
}

template <typename T>
void put(rapidjson::Writer<rapidjson::StringBuffer>& writer, const T& value) {
  if constexpr (std::is_same_v<T, std::string>) {
    writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    writer.Int64(value);
  } else if constexpr (std::is_same_v<T, double>) {
    writer.Double(value);
  } else if constexpr (std::is_same_v<T, bool>) {
    writer.Bool(value);
  } else if constexpr (json::IsRecord<T>) {
    writer.StartObject();
    const auto putField = [&](const auto& field) {
      const auto& member = value.*field.member;
      if constexpr (json::detail::OptionalTraits<std::remove_cvref_t<decltype(member)>>::value) {
        if (!member) return;
        writer.Key(field.key.data(), static_cast<rapidjson::SizeType>(field.key.size()));
        put(writer, *member);
      } else {
        writer.Key(field.key.data(), static_cast<rapidjson::SizeType>(field.key.size()));
        put(writer, member);
      }
    };
    std::apply([&](const auto&... field) { (putField(field), ...); }, json::recordFields<T>);
    writer.EndObject();
  } else {
    writer.StartArray();
    for (const auto& element : value) put(writer, element);
    writer.EndArray();
  }
}

void require(bool holds) {
  if (!holds) std::abort();
}

void copyOnly(benchmark::State& state) {
  const Transaction original = sample();
  for (auto _ : state) {
    Transaction copy = original;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(copyOnly);

void decodeOurs(benchmark::State& state, bool sorted) {
  const std::string text = received(sorted);
  require(json::decode<Transaction>(text) == sample());
  for (auto _ : state) {
    auto record = json::decode<Transaction>(text);
    benchmark::DoNotOptimize(record);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  state.counters["bytes"] = static_cast<double>(text.size());
}
BENCHMARK_CAPTURE(decodeOurs, inTableOrder, false);
BENCHMARK_CAPTURE(decodeOurs, sorted, true);

void decodeSimdjson(benchmark::State& state, bool sorted) {
  const simdjson::padded_string text(received(sorted));
  simdjson::dom::parser parser;
  for (auto _ : state) {
    Transaction record;
    assign(parser.parse(text).value(), record);
    benchmark::DoNotOptimize(record);
  }
  Transaction record;
  assign(parser.parse(text).value(), record);
  require(record == sample());
}
BENCHMARK_CAPTURE(decodeSimdjson, inTableOrder, false);
BENCHMARK_CAPTURE(decodeSimdjson, sorted, true);

void encodeOurs(benchmark::State& state, bool sorted) {
  const Transaction record = sample();
  std::size_t size = 0;
  for (auto _ : state) {
    auto text = json::encode(record, {.sortedKeys = sorted});
    size = text->size();
    benchmark::DoNotOptimize(text);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
  state.counters["bytes"] = static_cast<double>(size);
}
BENCHMARK_CAPTURE(encodeOurs, inTableOrder, false);
BENCHMARK_CAPTURE(encodeOurs, sorted, true);

void encodeRapidJSON(benchmark::State& state) {
  const Transaction record = sample();
  rapidjson::StringBuffer buffer;
  for (auto _ : state) {
    buffer.Clear();
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    put(writer, record);
    std::string text(buffer.GetString(), buffer.GetSize());
    benchmark::DoNotOptimize(text);
  }
  require(json::decode<Transaction>({buffer.GetString(), buffer.GetSize()}) == record);
}
BENCHMARK(encodeRapidJSON);

}  // namespace
