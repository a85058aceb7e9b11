#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include <tilvanego/json/CodingKeys.h>
#include <tilvanego/values/RawText.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The operations of the payment application. This enumeration is the only list of them: code that serves
/// all operations is generated from it, in this order, and does not compile if an operation has no
/// description. The raw text of a case is its name.
enum class OperationKind {
  payment,
  initialization,
  transactionList,
  fullRefund,
  partialRefund,
  capture,
  clearData,
  reboot,
  save,
};

template <>
inline constexpr bool json::namesAreTexts<OperationKind> = true;

/// Every operation, in the order of the list.
inline constexpr auto operationKinds = allCases<OperationKind>();

/// The name of an operation in words, as "transaction list".
[[nodiscard]] std::string operationWords(OperationKind kind);

/// The records of one operation: `Request` and `Result`. The header of each operation's records has its
/// specialisation.
template <OperationKind kind>
struct OperationRecords;

template <typename RequestType, typename ResultType>
struct RecordTypes {
  using Request = RequestType;
  using Result = ResultType;
};

/// Calls `visit.template operator()<kind>()` for each operation, in the order of the list.
template <typename Visit>
constexpr void forEachOperation(Visit&& visit) {
  [&]<std::size_t... index>(std::index_sequence<index...>) {
    (visit.template operator()<operationKinds[index]>(), ...);
  }(std::make_index_sequence<operationKinds.size()>());
}

}  // namespace tilvanego
