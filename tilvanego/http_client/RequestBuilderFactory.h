#pragma once

#include <concepts>
#include <functional>
#include <memory>

#include <tilvanego/http_client/RequestBuilder.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Creates a builder of one class, which takes the arguments over.
using RequestBuilderKind = std::function<std::shared_ptr<RequestBuilder>(
    const BodyType& bodyType, RequestBuilderArguments&& arguments)>;

/// Returns a function that creates builders of the class `Kind`.
template <std::derived_from<RequestBuilder> Kind>
[[nodiscard]] RequestBuilderKind requestBuilderKind() {
  return [](const BodyType& bodyType, RequestBuilderArguments&& arguments) {
    return RequestBuilder::make<Kind>(bodyType, std::move(arguments));
  };
}

/// Chooses the builder classes of a configuration's requests. A host derives from it to use its own builder
/// classes. All operations may be called from any thread. May throw: the exception leaves
/// `makeRequestBuilder`.
class RequestBuilderFactory {
 public:
  virtual ~RequestBuilderFactory() = default;

  /// The builder for a body that isn't decoded: `Empty`, or a type with `hasCustomBuilder`.
  [[nodiscard]] virtual RequestBuilderKind getNonDecodableBuilder(const BodyType& bodyType) const = 0;
  /// The builder for every other body type.
  [[nodiscard]] virtual RequestBuilderKind getBuilder(const BodyType& bodyType) const = 0;
};

}  // namespace tilvanego
