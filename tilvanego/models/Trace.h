#pragma once

#include <optional>
#include <string>
#include <vector>

#include <tilvanego/models/Parties.h>
#include <tilvanego/models/Record.h>
#include <tilvanego/values/Date.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

/// Data about the origin of a request, which responses and lists return.
struct Trace {
  std::optional<std::string> cashier = {};
  std::optional<std::string> clientIp = {};
  std::optional<std::string> customId = {};
  std::optional<Date> timestamp = {};
  std::optional<std::string> extTransactionId = {};
  std::optional<std::vector<std::string>> tags = {};

  enum class CodingKeys { cashier, clientIp, customId, timestamp, extTransactionId, tags };

  static constexpr StringRule extTransactionIdRule{.minLength = 1, .maxLength = 50};
  static constexpr ArrayRule tagsRule{.maxItems = 10};
  static constexpr FieldRule rules[] = {{CodingKeys::extTransactionId, extTransactionIdRule},
                                        {CodingKeys::tags, tagsRule}};

  bool operator==(const Trace&) const = default;
};

/// The identifiers of a click-to-pay payment.
struct ClickToPayTraceData {
  std::string merchantTransactionId;
  std::string correlationId;
  std::string srcFlowId;

  enum class CodingKeys { merchantTransactionId, correlationId, srcFlowId };

  bool operator==(const ClickToPayTraceData&) const = default;
};

/// One step in the history of a transaction.
struct TransactionHistoryRecord {
  enum class Action {
    _init,
    update,
    authorization,
    capture,
    transaction,
    refund,
    unknownDefaultOpenApi,
  };

  std::optional<Action> action = {};
  std::optional<std::string> requestId = {};
  std::optional<std::string> correlationId = {};
  std::optional<Date> timestamp = {};

  enum class CodingKeys { action, requestId, correlationId, timestamp };

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const TransactionHistoryRecord&) const = default;
};

/// Data about the origin and the history of a transaction.
struct TraceResponse {
  std::optional<std::string> cashier = {};
  std::optional<std::string> clientIp = {};
  std::optional<std::string> sourceIp = {};
  std::optional<std::string> source = {};
  std::optional<GpsLocation> gpsLocation = {};
  std::optional<std::string> customId = {};
  std::optional<Date> timestamp = {};
  std::optional<std::string> extTransactionId = {};
  std::optional<std::string> networkTransactionId = {};
  std::optional<std::vector<std::string>> tags = {};
  std::optional<std::vector<TransactionHistoryRecord>> history = {};
  std::optional<ClickToPayTraceData> clickToPayTraceData = {};

  enum class CodingKeys {
    cashier,
    clientIp,
    sourceIp,
    source,
    gpsLocation,
    customId,
    timestamp,
    extTransactionId,
    networkTransactionId,
    tags,
    history,
    clickToPayTraceData
  };

  static constexpr StringRule extTransactionIdRule{.minLength = 1, .maxLength = 50};
  static constexpr FieldRule rules[] = {{CodingKeys::extTransactionId, extTransactionIdRule}};

  bool operator==(const TraceResponse&) const = default;
};

}  // namespace models

template <>
inline constexpr bool models::namesAreOpenTexts<models::TransactionHistoryRecord::Action> = true;

template <>
inline constexpr std::array json::renamedCases<models::TransactionHistoryRecord::Action>{
    std::pair{models::TransactionHistoryRecord::Action::_init, std::string_view("init")}};

}  // namespace tilvanego
