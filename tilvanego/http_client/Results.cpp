// What a request ends with: a response or an error.

#include <array>
#include <cstddef>
#include <memory>
#include <new>

#include <tilvanego/http_client/DecodableRequestBuilderError.h>
#include <tilvanego/http_client/ErrorResponse.h>
#include <tilvanego/http_client/Response.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/values/Text.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

struct Description {
  using Cases = DecodableRequestBuilderErrorCases;
  std::string operator()(const Cases::JsonDecoding& one) const { return one.failure.description(); }
  std::string operator()(const Cases::GeneralError& one) const { return one.failure.description(); }
  std::string operator()(const Cases::EmptyDataResponse&) const { return "the answer has no body"; }
  std::string operator()(const Cases::NilHTTPResponse&) const { return "the answer is no HTTP response"; }
  std::string operator()(const Cases::UnsuccessfulHTTPStatusCode&) const {
    return "the HTTP status says that the request didn't succeed";
  }
};

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

ResponseHeader::Map support::headerTexts(const HTTPURLResponse& response) {
  ResponseHeader::Map texts;
  for (const auto& [name, value] : response.headers().fields()) {
    if (isValidUTF8(name) && isValidUTF8(value)) texts.emplace(name, value);
  }
  return texts;
}

// Another thread may read the other header meanwhile.
ResponseHeader::ResponseHeader(const ResponseHeader& other) : response_(other.response_) {
  if (const auto* const read = other.map_.get()) map_.keep(std::make_unique<Map>(*read));
}

ResponseHeader::Map& ResponseHeader::readFields() const {
  return map_.keep(std::make_unique<Map>(response_ ? support::headerTexts(*response_) : Map()));
}

std::string DecodableRequestBuilderError::description() const { return std::visit(Description(), value_); }

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
