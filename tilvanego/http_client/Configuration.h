#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include <tilvanego/network/OpenAPIMutex.h>
#include <tilvanego/network/URLCredential.h>

namespace [[gnu::visibility("default")]] tilvanego {

class CodableHelper;
class MainQueue;
class OpenAPIInterceptor;
class RequestBuilderFactory;

/// HTTP statuses from `lowerBound` up to `upperBound`, which is none of them.
struct StatusCodeRange {
  int lowerBound = 200;
  int upperBound = 300;

  [[nodiscard]] constexpr bool contains(int status) const {
    return lowerBound <= status && status < upperBound;
  }
  bool operator==(const StatusCodeRange&) const = default;
};

/// What all request builders go by: where requests go, what goes with each, who makes and sends them, and
/// where answers come in. Each field may be read, written and updated on any thread at any time, and builders
/// see the new value the next time they look; what they take when they are made stands in `RequestBuilder`.
///
/// A read gives a copy. An update runs its body under the object's lock with the field in its hands: the body
/// is short, doesn't execute a builder, and may throw, which leaves by the update with the field as the body
/// left it. What a write or an update replaces ends without the lock. None of the pointers is null.
class OstrelTilvanePoiModelsAPIConfiguration {
 public:
  using Headers = std::map<std::string, std::string>;

  struct State {
    std::string basePath;
    Headers customHeaders;
    std::optional<URLCredential> credential;
    std::shared_ptr<const RequestBuilderFactory> requestBuilderFactory;
    MainQueue* apiResponseQueue;
    std::shared_ptr<CodableHelper> codableHelper;
    StatusCodeRange successfulStatusCodeRange;
    std::shared_ptr<OpenAPIInterceptor> interceptor;
  };

  /// The configuration of the process, made on first use: the gateway's address, no headers and no
  /// credential, the builders and the session of `URLSessionImplementations.h`, the main queue, the coding of
  /// `CodableHelper`, success from 200 to 299, and no retries.
  static const std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration>& shared();

  OstrelTilvanePoiModelsAPIConfiguration(std::string basePath, Headers customHeaders,
                                         std::optional<URLCredential> credential,
                                         std::shared_ptr<const RequestBuilderFactory> requestBuilderFactory,
                                         MainQueue& apiResponseQueue,
                                         std::shared_ptr<CodableHelper> codableHelper,
                                         StatusCodeRange successfulStatusCodeRange,
                                         std::shared_ptr<OpenAPIInterceptor> interceptor);
  virtual ~OstrelTilvanePoiModelsAPIConfiguration() = default;

  /// The start of the URLs that a host builds: scheme and host, without a slash at the end.
  [[nodiscard]] virtual std::string basePath() const;
  virtual void setBasePath(std::string value);
  virtual void updateBasePath(const std::function<void(std::string&)>& body);

  /// Header fields of every request. They win over those that a builder is made with.
  [[nodiscard]] virtual Headers customHeaders() const;
  virtual void setCustomHeaders(Headers value);
  virtual void updateCustomHeaders(const std::function<void(Headers&)>& body);

  /// What answers an authentication challenge.
  [[nodiscard]] virtual std::optional<URLCredential> credential() const;
  virtual void setCredential(std::optional<URLCredential> value);
  virtual void updateCredential(const std::function<void(std::optional<URLCredential>&)>& body);

  [[nodiscard]] virtual std::shared_ptr<const RequestBuilderFactory> requestBuilderFactory() const;
  virtual void setRequestBuilderFactory(std::shared_ptr<const RequestBuilderFactory> value);
  virtual void updateRequestBuilderFactory(
      const std::function<void(std::shared_ptr<const RequestBuilderFactory>&)>& body);

  /// Where failures come in that never reached the session, and those that a retry could have mended. A
  /// serial executor; it outlives every call.
  [[nodiscard]] virtual MainQueue& apiResponseQueue() const;
  virtual void setApiResponseQueue(MainQueue& value);
  virtual void updateApiResponseQueue(const std::function<void(MainQueue*&)>& body);

  [[nodiscard]] virtual std::shared_ptr<CodableHelper> codableHelper() const;
  virtual void setCodableHelper(std::shared_ptr<CodableHelper> value);
  virtual void updateCodableHelper(const std::function<void(std::shared_ptr<CodableHelper>&)>& body);

  /// The statuses that count as success.
  [[nodiscard]] virtual StatusCodeRange successfulStatusCodeRange() const;
  virtual void setSuccessfulStatusCodeRange(StatusCodeRange value);
  virtual void updateSuccessfulStatusCodeRange(const std::function<void(StatusCodeRange&)>& body);

  [[nodiscard]] virtual std::shared_ptr<OpenAPIInterceptor> interceptor() const;
  virtual void setInterceptor(std::shared_ptr<OpenAPIInterceptor> value);
  virtual void updateInterceptor(const std::function<void(std::shared_ptr<OpenAPIInterceptor>&)>& body);

 private:
  template <typename Field>
  [[nodiscard]] Field read(Field State::* field) const;
  template <typename Field>
  void write(Field State::* field, Field value);
  template <typename Field>
  void update(Field State::* field, const std::function<void(Field&)>& body);

  OpenAPIMutex<State> _state;
};

}  // namespace tilvanego
