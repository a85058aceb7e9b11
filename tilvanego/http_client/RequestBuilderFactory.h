#pragma once

#include <concepts>
#include <functional>
#include <memory>

#include <tilvanego/http_client/RequestBuilder.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A kind of builder, as what makes one.
using RequestBuilderKind = std::function<std::shared_ptr<RequestBuilder>(const BodyType& bodyType,
                                                                         RequestBuilderArguments arguments)>;

template <std::derived_from<RequestBuilder> Kind>
[[nodiscard]] RequestBuilderKind requestBuilderKind() {
  return [](const BodyType& bodyType, RequestBuilderArguments arguments) {
    return RequestBuilder::make<Kind>(bodyType, std::move(arguments));
  };
}

/// Says which kinds of builders a configuration's requests are made with. A host derives from it to have its
/// own kinds made. Any thread may use one at any time. May throw: the exception leaves by
/// `makeRequestBuilder`.
class RequestBuilderFactory {
 public:
  virtual ~RequestBuilderFactory() = default;

  /// The kind for a body that isn't decoded: the empty one, or a type that only a host's own kind can read.
  [[nodiscard]] virtual RequestBuilderKind getNonDecodableBuilder(const BodyType& bodyType) const = 0;
  /// The kind for every other body.
  [[nodiscard]] virtual RequestBuilderKind getBuilder(const BodyType& bodyType) const = 0;
};

}  // namespace tilvanego
