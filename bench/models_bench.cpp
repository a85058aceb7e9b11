// Decoding and encoding the POI records: everything about one transaction, and a listing of 1,000, beside the
// libraries that do the same into and out of the same structs.

#include <benchmark/benchmark.h>

#include "allocations.h"
#include "models_peers.h"

namespace tilvanego::bench {
namespace {

using models::ListTransactionResponseInstance;
using models::TransactionResponse;
using Listing = std::vector<ListTransactionResponseInstance>;

constexpr double moment = 1'709'634'030.125;

TransactionResponse transaction() {
  using namespace models;
  const Address home{"500 Market Street", "Floor 3", "Springfield", "IL", "62701", "US", "Example Inc"};
  const auto step = [](TransactionHistoryRecord::Action action, const char* number) {
    return TransactionHistoryRecord{action, std::string("req-7f3c9a2e51d8-") + number,
                                    std::string("co-1000410042-") + number,
                                    Date::fromSecondsSince1970(moment)};
  };
  TransactionResponse all;
  all.status = Status::captured;
  all.amounts = AmountsResponse{.currency = Currency::usd,
                                .approved = "1248.50",
                                .requested = "1248.50",
                                .gratuity = "12.00",
                                .cashback = "0.00",
                                .surcharge = "1.25",
                                .additionalFee = "0.35",
                                .balance = "310.10"};
  all.customer = Customer{"Alex Example", "alex.example@example.com", "+15551234567", home};
  all.description = "Two coffees and a croissant";
  all.shippingAddress = ShippingAddress{.address1 = "500 Market Street",
                                        .address2 = "Floor 3",
                                        .city = "Springfield",
                                        .state = "IL",
                                        .zip = "62701",
                                        .country = "US",
                                        .company = "Example Inc",
                                        .recipient = "Alex Example",
                                        .recipientPhone = "+15551234567",
                                        .recipientEmail = "alex.example@example.com"};
  all.trace = TraceResponse{
      .cashier = "anna",
      .clientIp = "192.0.2.10",
      .sourceIp = "198.51.100.7",
      .source = "till-3",
      .gpsLocation = GpsLocation{"39.7817", "-89.6501", "12"},
      .customId = "order-5512",
      .timestamp = Date::fromSecondsSince1970(moment),
      .extTransactionId = "ext-0000017",
      .networkTransactionId = "NET123456789",
      .tags = {{"counter", "evening", "loyalty"}},
      .history = {{step(TransactionHistoryRecord::Action::authorization, "1"),
                   step(TransactionHistoryRecord::Action::capture, "2"),
                   step(TransactionHistoryRecord::Action::transaction, "3")}},
      .clickToPayTraceData = ClickToPayTraceData{"mt-92ab74c1d0e8", "co-92ab74c1d0e8", "flow-17"}};
  all.reference = "INV-2024-000183";
  all.osTokenReference = "ost_0123456789abcdef0123456789abcdef";
  all.transactionId = "240305102030";
  all.veilmarkToken = VeilmarkCardToken{"os-5001230045600789", "424242******4242", "1127"};
  all.card = CardResponse{"ALEX EXAMPLE", CardBrand::visa, "424242", "4242", "1127"};
  all.auth = AuthResponse{.code = "084511",
                          .message = AuthMessageEnum::approved,
                          .processorMessage = "APPROVED 00",
                          .networkName = "VISANET",
                          .avsResponseCode = AVSResponseCode::y,
                          .cvv2ResponseCode = CVV2ResponseCode::m};
  all.emv = EmvDataResponse{"A0000000031010",         "VISA CREDIT", "0000008000", "E800", "00", "0042",
                            "9F2608A1B2C3D4E5F60718", "CONTACTLESS", true};
  all.binData = BinDataResponse{BinDataResponse::Program::healthcare, BinDataResponse::ProgramCard::fsa};
  all.cvm = CVM{CVM::Method::noCvmRequired, "data:image/png;base64,iVBORw0KGgo="};
  all.tenderType = TenderType::credit;
  return all;
}

Listing listing() {
  Listing rows;
  for (int i = 0; i < 1'000; ++i) {
    const std::string number = std::to_string(100'000 + i);
    using enum ListTransactionResponseInstance::TransactionType;
    rows.push_back({.status = models::Status::approved,
                    .transactionId = "240305" + number,
                    .authMessage = "APPROVED",
                    .authCode = number,
                    .approvedAmount = std::to_string(i) + ".25",
                    .transactionType = i % 3 == 0 ? refund : sale,
                    .timestamp = Date::fromSecondsSince1970(moment + i),
                    .reference = "INV-2024-" + number,
                    .cardType = "CREDIT",
                    .entryMode = models::ResponseEntryMode::contactless,
                    .last4 = "4242",
                    .osTokenReference = "ost_0123456789abcdef0123456789" + number});
  }
  return rows;
}

template <typename T>
T sample();
template <>
TransactionResponse sample() {
  return transaction();
}
template <>
Listing sample() {
  return listing();
}

// Each library by the two steps that its users write.

struct Ours {
  explicit Ours(const std::string& text) : text_(text) {}
  template <typename T>
  T decode() {
    if constexpr (models::Record<T>) {
      return models::decode<T>(text_).value();
    } else {
      return json::decode<T>(text_, &JSONDates::api()).value();
    }
  }
  template <typename T>
  static std::string encode(const T& value) {
    if constexpr (models::Record<T>) {
      return models::encode(value).value();
    } else {
      return json::encode(value, {.dates = &JSONDates::api()}).value();
    }
  }
  const std::string& text_;
};

struct Simdjson {
  explicit Simdjson(const std::string& text) : text_(text) {}
  template <typename T>
  T decode() {
    T value;
    assign(parser_.parse(text_).value(), value);
    return value;
  }
  simdjson::padded_string text_;
  simdjson::dom::parser parser_;
};

struct RapidJSON {
  explicit RapidJSON(const std::string& text) : text_(text) {}
  template <typename T>
  T decode() {
    rapidjson::Document document;
    document.Parse(text_.data(), text_.size());
    T value;
    assign(static_cast<const rapidjson::Value&>(document), value);
    return value;
  }
  template <typename T>
  static std::string encode(const T& value) {
    static rapidjson::StringBuffer buffer;
    buffer.Clear();
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    put(writer, value);
    return {buffer.GetString(), buffer.GetSize()};
  }
  const std::string& text_;
};

struct BoostJSON {
  explicit BoostJSON(const std::string& text) : text_(text) {}
  template <typename T>
  T decode() {
    boost::json::monotonic_resource memory;
    T value;
    assign(boost::json::parse({text_.data(), text_.size()}, &memory), value);
    return value;
  }
  template <typename T>
  static std::string encode(const T& value) {
    return boost::json::serialize(treeOf<boost::json::value, boost::json::object, boost::json::array>(value));
  }
  const std::string& text_;
};

struct Nlohmann {
  explicit Nlohmann(const std::string& text) : text_(text) {}
  template <typename T>
  T decode() {
    T value;
    assign(nlohmann::json::parse(text_), value);
    return value;
  }
  template <typename T>
  static std::string encode(const T& value) {
    return treeOf<nlohmann::json, nlohmann::json::object_t, nlohmann::json::array_t>(value).dump();
  }
  const std::string& text_;
};

void require(bool holds) {
  if (!holds) std::abort();
}

void report(benchmark::State& state, std::size_t bytes, std::size_t allocated) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
  state.counters["bytes"] = static_cast<double>(bytes);
  state.counters["allocations"] = static_cast<double>(allocated);
}

template <typename T, typename Library>
void decode(benchmark::State& state) {
  const std::string text = Ours::encode(sample<T>());
  Library library(text);
  require(library.template decode<T>() == sample<T>());
  const std::size_t before = allocations();
  benchmark::DoNotOptimize(library.template decode<T>());
  const std::size_t allocated = allocations() - before;
  for (auto _ : state) {
    T value = library.template decode<T>();
    benchmark::DoNotOptimize(value);
  }
  report(state, text.size(), allocated);
}

template <typename T, typename Library>
void encode(benchmark::State& state) {
  const T value = sample<T>();
  const std::string text = Library::encode(value);
  require(Ours(text).decode<T>() == value);
  const std::size_t before = allocations();
  benchmark::DoNotOptimize(Library::encode(value));
  const std::size_t allocated = allocations() - before;
  for (auto _ : state) {
    std::string written = Library::encode(value);
    benchmark::DoNotOptimize(written);
  }
  report(state, text.size(), allocated);
}

/// The floor: the structs are copied and freed, no JSON.
template <typename T>
void copyOnly(benchmark::State& state) {
  const T original = sample<T>();
  const std::size_t before = allocations();
  benchmark::DoNotOptimize(T(original));
  state.counters["allocations"] = static_cast<double>(allocations() - before);
  for (auto _ : state) {
    T copy = original;
    benchmark::DoNotOptimize(copy);
  }
}

BENCHMARK(copyOnly<TransactionResponse>);
BENCHMARK(decode<TransactionResponse, Ours>);
BENCHMARK(decode<TransactionResponse, Simdjson>);
BENCHMARK(decode<TransactionResponse, RapidJSON>);
BENCHMARK(decode<TransactionResponse, BoostJSON>);
BENCHMARK(decode<TransactionResponse, Nlohmann>);
BENCHMARK(encode<TransactionResponse, Ours>);
BENCHMARK(encode<TransactionResponse, RapidJSON>);
BENCHMARK(encode<TransactionResponse, BoostJSON>);
BENCHMARK(encode<TransactionResponse, Nlohmann>);
BENCHMARK(copyOnly<Listing>);
BENCHMARK(decode<Listing, Ours>);
BENCHMARK(decode<Listing, Simdjson>);
BENCHMARK(decode<Listing, RapidJSON>);
BENCHMARK(decode<Listing, BoostJSON>);
BENCHMARK(decode<Listing, Nlohmann>);
BENCHMARK(encode<Listing, Ours>);
BENCHMARK(encode<Listing, RapidJSON>);
BENCHMARK(encode<Listing, BoostJSON>);
BENCHMARK(encode<Listing, Nlohmann>);

}  // namespace
}  // namespace tilvanego::bench
