#pragma once

#include <functional>
#include <string_view>
#include <tuple>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/values/LinkWriter.h>

namespace tilvanego::detail {

/// The record types of one operation.
///
/// An operation is a struct of data over these: its `texts`; the error cases `InProgress` and
/// `AppNotInstalled`; `describe`, `validate` and `addItems` for the way out; `callbackKeys`, `statusWords`
/// and `failed` for the way back. `Facade` gives all operations their behaviour. What only some of them say
/// is told at `BlockersOf` and `passesOnUnmatched`.
template <OperationKind operationKind>
struct OperationTypes {
  static constexpr OperationKind kind = operationKind;
  using Request = typename OperationRecords<kind>::Request;
  using Result = typename OperationRecords<kind>::Result;
  using Response = typename Result::Response;
  using Error = typename Result::Error;
  using Fields = typename Response::Fields;
};

/// The operation of a kind, as its `type`. Specialised for each, beside the operation.
template <OperationKind kind>
struct OperationOf;

/// The texts of one operation.
struct OperationTexts {
  /// Opens the debug line that shows the request.
  std::string_view sending;
  std::string_view buildFailure;
  /// Logged before the link is opened.
  std::string_view opening;
  /// Opens the debug line that shows the link.
  std::string_view urlLabel;
  LinkTarget target;
  /// Logged when a callback isn't the pending operation's.
  std::string_view unmatchedCallback;
};

/// A list of operations.
template <typename... Operations>
struct OperationList {
  template <template <typename> typename Each>
  using Tuple = std::tuple<Each<Operations>...>;
};

/// The operations that keep `Operation` from starting while they are pending: itself, or those that its
/// `BlockedBy` lists.
template <typename Operation>
struct BlockersOf {
  using List = OperationList<Operation>;
};
template <typename Operation>
  requires requires { typename Operation::BlockedBy; }
struct BlockersOf<Operation> {
  using List = typename Operation::BlockedBy;
};

/// Whether a callback that isn't the pending `Operation`'s is still offered to the ranks behind it; it isn't,
/// unless the operation says `passesOnUnmatched`.
template <typename Operation>
inline constexpr bool passesOnUnmatched = requires { requires Operation::passesOnUnmatched; };

template <typename Operation>
using Completion = std::function<void(const typename Operation::Result& result)>;

/// An operation that was started and not yet finished.
template <typename Operation>
struct Pending {
  typename Operation::Request request;
  Completion<Operation> completion;
};

}  // namespace tilvanego::detail
