#include <tilvanego/http_client/ErrorResponse.h>

#include <array>
#include <cstddef>
#include <new>
#include <utility>

#include <tilvanego/network/ExceptionFailure.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

/// A cause of the host's own may throw where it describes itself.
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
                                   Failure underlyingFailure) noexcept {
  try {
    std::string description = describe(code, underlyingFailure);
    return {code,
            std::make_shared<const Payload>(Payload{std::move(data), std::move(response),
                                                    std::move(underlyingFailure), std::move(description)})};
  } catch (...) {
    // Made without memory from the heap, and never destroyed: a send may end while the process does.
    alignas(Payload) static std::array<std::byte, sizeof(Payload)> place;
    static const auto* const payload =
        new (place.data()) Payload{{}, nullptr, ExceptionFailure(std::current_exception()), "out of memory"};
    return {code, std::shared_ptr<const Payload>(std::shared_ptr<void>(), payload)};
  }
}

// Here, since g++ 12 warns in an optimised host whose completion takes its result by value.
const char* ErrorResponse::what() const noexcept { return payload_->description.c_str(); }

}  // namespace tilvanego
