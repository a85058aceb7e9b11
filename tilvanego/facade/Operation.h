#pragma once

#include <functional>
#include <string_view>
#include <tuple>

#include <tilvanego/values/LinkWriter.h>

namespace tilvanego::detail {

/// The texts of one operation.
///
/// An operation is a struct of data: its `Request`, `Response`, `Error` and `Result`; its `texts`; the error cases
/// `InProgress` and `AppNotInstalled`; `describe`, `validate` and `addItems` for the way out; `callbackKeys`,
/// `statusWords` and `failed` for the way back. `Facade` gives all operations their behaviour.
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
template <class... Operations>
struct OperationList {
  template <template <class> class Each>
  using Tuple = std::tuple<Each<Operations>...>;
};

template <class Operation>
using Completion = std::function<void(const typename Operation::Result& result)>;

/// An operation that was started and not yet finished.
template <class Operation>
struct Pending {
  typename Operation::Request request;
  Completion<Operation> completion;
};

}  // namespace tilvanego::detail
