#pragma once

#include <functional>
#include <string_view>
#include <tuple>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/values/LinkWriter.h>

namespace tilvanego::detail {

/// The record types of one operation.
///
/// A description of an operation is a struct that derives from this one. It must define `texts`, the error
/// cases `InProgress` and `AppNotInstalled`, the functions `describe`, `validate` and `addItems` for its
/// request, and `callbackKeys`, `statusWords` and `failed` for its response. It may define `BlockedBy` (see
/// `BlockersOf`) and `passesOnUnmatched`. `Facade` runs every operation by its description.
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
  std::string_view buildFailure;
  /// The log message before the link is opened.
  std::string_view opening;
  /// The beginning of the debug line that shows the link.
  std::string_view urlLabel;
  LinkTarget target;
  /// The log message for a callback that isn't the pending operation's.
  std::string_view unmatchedCallback;
};

/// A list of operations.
template <typename... Operations>
struct OperationList {
  template <template <typename> typename Each>
  using Tuple = std::tuple<Each<Operations>...>;
};

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

/// An operation that was started and not yet finished.
template <typename Operation>
struct Pending {
  typename Operation::Request request;
  Completion<Operation> completion;
};

}  // namespace tilvanego::detail
