#pragma once

#include <cstddef>
#include <optional>
#include <tuple>

#include <tilvanego/json/Record.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

namespace tilvanego::models::detail {

template <typename Member>
bool isUnknownCase(const Member&) {
  return false;
}

template <HasUnknownCase Enumeration>
bool isUnknownCase(const Enumeration& value) {
  return value == Enumeration::unknownDefaultOpenApi;
}

template <HasUnknownCase Enumeration>
bool isUnknownCase(const std::optional<Enumeration>& value) {
  return value == Enumeration::unknownDefaultOpenApi;
}

/// Whether a member of the record itself, not of a nested record, is `unknownDefaultOpenApi`.
template <json::NamesItsKeys Record>
[[nodiscard]] bool holdsUnknownCase(const Record& record) {
  return std::apply([](const auto&... member) { return (isUnknownCase(member) || ...); },
                    json::detail::tieMembers<json::fieldCount<Record>>(record));
}

}  // namespace tilvanego::models::detail
