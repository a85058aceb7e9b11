#pragma once

#include <concepts>
#include <memory>
#include <utility>

#include <tilvanego/http_client/URLSessionImplementations.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A builder of the class `Kind` that sends its requests by a given session instead of the process's default
/// one.
template <std::derived_from<URLSessionRequestBuilder> Kind>
class RequestBuilderWithSession : public Kind {
 public:
  /// `session` must not be null.
  RequestBuilderWithSession(RequestBuilder::Construction construction,
                            std::shared_ptr<URLSessionProtocol> session)
      : Kind(std::move(construction)), session_(std::move(session)) {}

  std::shared_ptr<URLSessionProtocol> createURLSession() override { return session_; }

 private:
  std::shared_ptr<URLSessionProtocol> session_;
};

/// A factory for a configuration whose requests are sent by a session of the host, such as a `URLSession`
/// with a proxy or a `MemoryURLSession`.
///
/// ```cpp
/// void sendBy(std::shared_ptr<URLSessionProtocol> session) {
///   OstrelTilvanePoiModelsAPIConfiguration::shared()->setRequestBuilderFactory(
///       std::make_shared<RequestBuilderFactoryWithSession<>>(session));
/// }
/// ```
template <std::derived_from<URLSessionRequestBuilder> NonDecodable = URLSessionRequestBuilder,
          std::derived_from<URLSessionRequestBuilder> Decodable = URLSessionDecodableRequestBuilder>
class RequestBuilderFactoryWithSession : public RequestBuilderFactory {
 public:
  explicit RequestBuilderFactoryWithSession(std::shared_ptr<URLSessionProtocol> session)
      : session_(std::move(session)) {}

  [[nodiscard]] RequestBuilderKind getNonDecodableBuilder(const BodyType&) const override {
    return kind<NonDecodable>();
  }
  [[nodiscard]] RequestBuilderKind getBuilder(const BodyType&) const override { return kind<Decodable>(); }

 private:
  template <typename Kind>
  [[nodiscard]] RequestBuilderKind kind() const {
    return [session = session_](const BodyType& bodyType, RequestBuilderArguments&& arguments) {
      return RequestBuilder::make<RequestBuilderWithSession<Kind>>(bodyType, std::move(arguments), session);
    };
  }

  std::shared_ptr<URLSessionProtocol> session_;
};

}  // namespace tilvanego
