#include <tilvanego/network/ExceptionFailure.h>

#include <tilvanego/async/StopToken.h>

namespace [[gnu::visibility("default")]] tilvanego {

std::string ExceptionFailure::description() const {
  try {
    std::rethrow_exception(exception_);
  } catch (const std::exception& thrown) {
    return thrown.what();
  } catch (...) {
    return "an exception of unknown type";
  }
}

Failure support::currentFailure() {
  try {
    throw;
  } catch (const Failure& failure) {
    return failure;
  } catch (const CancellationError& cancelled) {
    return cancelled;
  } catch (...) {
    return ExceptionFailure(std::current_exception());
  }
}

}  // namespace tilvanego
