#pragma once

#include <exception>
#include <string>
#include <utility>

#include <tilvanego/network/Failure.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The cause of a failure that came as an exception: of the host's code where the library asked it something,
/// or of the library's own way, such as `std::bad_alloc`.
///
/// ```cpp
/// void goOnAfter(const Failure& failure) {
///   if (const auto* thrown = failure.as<ExceptionFailure>()) std::rethrow_exception(thrown->exception());
/// }
/// ```
class ExceptionFailure {
 public:
  /// `exception` isn't null.
  explicit ExceptionFailure(std::exception_ptr exception) : exception_(std::move(exception)) {}

  [[nodiscard]] const std::exception_ptr& exception() const { return exception_; }
  /// The exception's `what()`, or that it has none.
  [[nodiscard]] std::string description() const;

 private:
  // Nothing else, so that a `Failure` needs no memory for it.
  std::exception_ptr exception_;
};

}  // namespace tilvanego

namespace tilvanego::detail {

/// The exception that is being handled as a failure: a `Failure` and a `CancellationError` as themselves, any
/// other as an `ExceptionFailure`.
[[nodiscard]] Failure currentFailure();

}  // namespace tilvanego::detail
