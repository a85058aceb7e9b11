#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/LinkWriter.h>

namespace tilvanego::detail {

/// The record types of one operation.
///
/// A description of an operation is a struct that derives from this one. It must define `texts`, the error
/// cases `InProgress` and `AppNotInstalled`, the functions `describe`, `validate` and `addItems` for its
/// request, and `callbackKeys`, `statusWords` and `failed` for its response. It may define `BlockedBy` (see
/// `BlockersOf`) and `passesOnUnmatched`. `PendingOf` calls the description for the facade.
template <OperationKind operationKind>
struct OperationTypes {
  static constexpr OperationKind kind = operationKind;
  using Request = typename OperationRecords<kind>::Request;
  using Result = typename OperationRecords<kind>::Result;
  using Response = typename Result::Response;
  using Error = typename Result::Error;
  using Fields = typename Response::Fields;
};

/// The texts of one operation.
struct OperationTexts {
  /// The beginning of the debug line that shows the request.
  std::string_view sending;
  /// The log message before the link is opened.
  std::string_view opening;
  /// The beginning of the debug line that shows the link.
  std::string_view urlLabel;
  LinkTarget target;
};

/// The error message for a link that can't be built.
[[nodiscard]] inline std::string buildFailure(OperationKind kind) {
  return "Unable to build Tilvane " + operationWords(kind) + " URL.";
}

/// The log message for a callback that isn't the pending operation's.
[[nodiscard]] inline std::string unmatchedCallback(OperationKind kind) {
  return "Ignored callback that did not match the active " + operationWords(kind) + " return URL.";
}

/// A list of operations.
template <typename... Operations>
struct OperationList {};

/// `List` has the operations that prevent the start of `Operation` while they are pending: those that its
/// `BlockedBy` lists, or only itself if it has no `BlockedBy`.
template <typename Operation>
struct BlockersOf {
  using List = OperationList<Operation>;
};
template <typename Operation>
  requires requires { typename Operation::BlockedBy; }
struct BlockersOf<Operation> {
  using List = typename Operation::BlockedBy;
};

/// Whether the router offers a callback that isn't the pending `Operation`'s to the operations after it. True
/// if the operation defines `passesOnUnmatched` as true.
template <typename Operation>
inline constexpr bool passesOnUnmatched = requires { requires Operation::passesOnUnmatched; };

template <typename Operation>
using Completion = std::function<void(const typename Operation::Result& result)>;

/// Builds the text of a request for the debug line of its start: `SaveRequest(requestId: A-1, customId:
/// nil)`. The operation chooses the fields, and of which it shows only whether they are present (`flag`).
/// Texts are written as they are; what hosts show is `RequestRecord::description`.
class RequestDescription {
 public:
  explicit RequestDescription(std::string_view record) : text_(record) {}

  RequestDescription& field(std::string_view name, std::string_view value) {
    text_.append(separator_).append(name).append(": ").append(value);
    separator_ = ", ";
    return *this;
  }
  RequestDescription& flag(std::string_view name, bool value) {
    return field(name, value ? "true" : "false");
  }

  [[nodiscard]] std::string text() const { return text_ + ")"; }

 private:
  std::string text_;
  std::string_view separator_ = "(";
};

/// The text of an optional value in a description.
[[nodiscard]] inline std::string_view orNil(const std::optional<std::string>& value) {
  return value ? std::string_view(*value) : "nil";
}
[[nodiscard]] inline std::string orNil(const std::optional<Decimal>& value) {
  return value ? value->text() : "nil";
}
[[nodiscard]] inline std::string orNil(const std::optional<std::int64_t>& value) {
  return value ? std::to_string(*value) : "nil";
}

}  // namespace tilvanego::detail
