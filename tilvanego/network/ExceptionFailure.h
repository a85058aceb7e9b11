#pragma once

#include <exception>
#include <string>
#include <utility>

#include <tilvanego/network/Failure.h>
#include <tilvanego/values/Lifetime.h>
#include <tilvanego/values/Support.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A failure whose cause is an exception: one that a callback of the host threw, or one of the library's own,
/// such as `std::bad_alloc`.
///
/// ```cpp
/// void goOnAfter(const Failure& failure) {
///   if (const auto* thrown = failure.as<ExceptionFailure>()) std::rethrow_exception(thrown->exception());
/// }
/// ```
class ExceptionFailure {
 public:
  /// `exception` must not be null.
  explicit ExceptionFailure(std::exception_ptr exception) : exception_(std::move(exception)) {}

  [[nodiscard]] const std::exception_ptr& exception() const TILVANEGO_LIFETIMEBOUND { return exception_; }
  /// The exception's `what()`, or "an exception of unknown type" if it isn't a `std::exception`.
  [[nodiscard]] std::string description() const;

 private:
  // The only member: `std::any` in a `Failure` then holds this object without an allocation.
  std::exception_ptr exception_;
};

namespace support {

/// Returns the exception that is being handled as a failure. A thrown `Failure` or `CancellationError` is
/// returned unchanged, any other exception inside an `ExceptionFailure`. Call it in a `catch` block only.
[[nodiscard]] Failure currentFailure();

}  // namespace support
}  // namespace tilvanego
