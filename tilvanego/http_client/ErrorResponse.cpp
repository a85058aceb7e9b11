#include <tilvanego/http_client/ErrorResponse.h>

#include <utility>

namespace tilvanego {

ErrorResponse ErrorResponse::error(int code, std::optional<Data> data, URLResponsePointer response,
                                   Failure underlyingFailure) {
  std::string description =
      "request failed with code " + std::to_string(code) + ": " + underlyingFailure.description();
  return ErrorResponse(std::make_shared<const Payload>(Payload{
      code, std::move(data), std::move(response), std::move(underlyingFailure), std::move(description)}));
}

// Here, since g++ 12 warns in an optimised host whose completion takes its result by value.
const char* ErrorResponse::what() const noexcept { return payload_->description.c_str(); }

}  // namespace tilvanego
