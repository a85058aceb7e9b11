#include <tilvanego/http_client/ErrorResponse.h>

#include <array>
#include <cstddef>
#include <new>

#include <tilvanego/network/ExceptionFailure.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

/// The `description()` of a host's cause may throw; the text then has no cause.
std::string describe(int code, const Failure& failure) {
  std::string text = "request failed with code " + std::to_string(code);
  try {
    return text + ": " + failure.description();
  } catch (...) {
    return text;
  }
}

}  // namespace

ErrorResponse ErrorResponse::error(int code, std::optional<Data> data, URLResponsePointer response,
                                   Failure underlyingFailure) noexcept try {
  std::string description = describe(code, underlyingFailure);
  return {code,
          std::make_shared<const Payload>(Payload{std::move(data), std::move(response),
                                                  std::move(underlyingFailure), std::move(description)})};
} catch (...) {
  // Created without heap memory, and never destroyed, because a request may end while the process exits.
  alignas(Payload) static std::array<std::byte, sizeof(Payload)> place;
  static const auto* const payload =
      new (place.data()) Payload{{}, nullptr, ExceptionFailure(std::current_exception()), "out of memory"};
  return {code, std::shared_ptr<const Payload>(std::shared_ptr<void>(), payload)};
}

// Not inline, because g++ 12 warns in an optimised host whose completion takes its result by value.
const char* ErrorResponse::what() const noexcept { return payload_->description.c_str(); }

}  // namespace tilvanego
