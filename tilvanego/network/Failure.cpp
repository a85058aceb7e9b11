#include <tilvanego/network/Failure.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include <tilvanego/async/StopToken.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/network/TransportError.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

std::string_view nameOf(TransportError::Code code) {
  // In the order of the codes; the last is also for a value that is none of them.
  static constexpr std::array<std::string_view, 18> names{
      "cancelled",
      "timed out",
      "invalid request",
      "unsupported URL",
      "cannot find host",
      "cannot connect to host",
      "proxy authentication required",
      "secure connection failed",
      "server certificate untrusted",
      "server key not pinned",
      "client certificate refused",
      "network connection lost",
      "bad server response",
      "body too large",
      "too many redirects",
      "redirect refused",
      "invalid TLS options",
      "transport failure",
  };
  static_assert(names.size() == static_cast<std::size_t>(TransportError::Code::unknown) + 1);
  return names[std::min<std::size_t>(static_cast<std::size_t>(code), names.size() - 1)];
}

}  // namespace

std::string TransportError::description() const {
  std::string text(nameOf(code));
  if (!message.empty()) text.append(": ").append(message);
  return text;
}

std::string ExceptionFailure::description() const try {
  std::rethrow_exception(exception_);
} catch (const std::exception& thrown) {
  return thrown.what();
} catch (...) {
  return "an exception of unknown type";
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
