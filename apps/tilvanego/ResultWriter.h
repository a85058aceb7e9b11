#pragma once

#include <optional>
#include <string_view>
#include <variant>
#include <vector>

#include "JSONText.h"
#include "ResponseFields.h"

/// Writes the results of all kinds, by the members of their cases.
namespace tilvanego::program {

template <typename Record>
[[nodiscard]] JSONObject recordObject(const Record& record);

/// For the values that are records.
[[nodiscard]] inline JSONObject recordsValue(const TilvaneGoTransactionDetails& details) {
  return recordObject(details);
}
[[nodiscard]] inline JSONText recordsValue(const std::vector<TilvaneGoTransaction>& transactions) {
  JSONList list;
  for (const auto& one : transactions) list.add(recordObject(one));
  return list.finish();
}

template <typename Record>
JSONObject recordObject(const Record& record) {
  JSONObject object;
  visitRecord(record, [&object](std::string_view name, const auto& value) {
    if constexpr (requires { recordsValue(value); }) {
      object.add(name, recordsValue(value));
    } else {
      object.add(name, value);
    }
  });
  return object;
}

/// The payload of an error case, by the names of its members.
template <typename Case>
[[nodiscard]] JSONObject payloadObject(const Case& one) {
  JSONObject payload;
  if constexpr (requires { one.expected; }) payload.add("expected", one.expected);
  if constexpr (requires { one.received; }) payload.add("received", one.received);
  if constexpr (requires { one.status; }) payload.add("status", one.status);
  if constexpr (requires { one.code; }) payload.add("code", one.code);
  if constexpr (requires { one.message; }) payload.add("message", one.message);
  if constexpr (requires { one.reason; }) payload.add("text", one.reason);
  return payload;
}

template <typename Result>
[[nodiscard]] JSONObject resultObject(const Result& result) {
  JSONObject object;
  object.add("case", result.name());
  const auto response = result.response();
  object.addOrNull("response", response ? std::optional(recordObject(*response)) : std::nullopt);
  if (const auto* failure = std::get_if<typename Result::Failure>(&result)) {
    const typename Result::Error::Variant& error = failure->error;
    object.add("error", failure->error.name());
    object.add("errorPayload", std::visit([](const auto& one) { return payloadObject(one); }, error));
    object.add("description", failure->error.errorDescription());
  }
  return object;
}

}  // namespace tilvanego::program
