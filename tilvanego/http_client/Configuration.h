#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <tilvanego/http_client/MarkedState.h>
#include <tilvanego/http_client/RequestLimits.h>
#include <tilvanego/http_client/encodings/FlatMap.h>
#include <tilvanego/network/URLCredential.h>

namespace [[gnu::visibility("default")]] tilvanego {

class CodableHelper;
class MainQueue;
class OpenAPIInterceptor;
class RequestBuilderFactory;

/// The HTTP statuses from `lowerBound` up to, but not including, `upperBound`.
struct StatusCodeRange {
  int lowerBound = 200;
  int upperBound = 300;

  [[nodiscard]] constexpr bool contains(int status) const {
    return lowerBound <= status && status < upperBound;
  }
  bool operator==(const StatusCodeRange&) const = default;
};

/// The settings that request builders share. Each field may be read, set and updated on any thread at any
/// time. A builder copies the custom headers and the credential when it is created, and reads the other
/// fields for each request.
///
/// A getter returns a copy. An update calls `body` with a reference to the field, under the object's lock:
/// `body` should be short and must not execute a builder. It may throw: the exception leaves the update, and
/// the field keeps the value that `body` left in it. Replaced values are destroyed without the lock. No
/// pointer may be null.
class OstrelTilvanePoiModelsAPIConfiguration {
 public:
  using Headers = FlatMap<std::string>;

  struct State {
    std::string basePath;
    Headers customHeaders;
    std::optional<URLCredential> credential;
    std::shared_ptr<const RequestBuilderFactory> requestBuilderFactory;
    MainQueue* apiResponseQueue;
    std::shared_ptr<CodableHelper> codableHelper;
    StatusCodeRange successfulStatusCodeRange;
    std::shared_ptr<OpenAPIInterceptor> interceptor;
    RequestLimits limits{};
  };

  /// The configuration of the process, created on first use: the gateway's address, no headers, no
  /// credential, the builders and the session of `URLSessionImplementations.h`, `RunLoop::main()`, a default
  /// `CodableHelper`, success for the statuses 200 to 299, and no retries.
  static const std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration>& shared();

  OstrelTilvanePoiModelsAPIConfiguration(std::string basePath, Headers customHeaders,
                                         std::optional<URLCredential> credential,
                                         std::shared_ptr<const RequestBuilderFactory> requestBuilderFactory,
                                         MainQueue& apiResponseQueue,
                                         std::shared_ptr<CodableHelper> codableHelper,
                                         StatusCodeRange successfulStatusCodeRange,
                                         std::shared_ptr<OpenAPIInterceptor> interceptor);
  virtual ~OstrelTilvanePoiModelsAPIConfiguration() = default;

  /// The start of the URLs that a host builds: scheme and host, without a slash at the end. The library
  /// itself doesn't use it.
  [[nodiscard]] virtual std::string basePath() const;
  virtual void setBasePath(std::string value);
  virtual void updateBasePath(const std::function<void(std::string&)>& body);

  /// Header fields of every request. They override the fields that a builder is created with.
  [[nodiscard]] virtual Headers customHeaders() const;
  virtual void setCustomHeaders(Headers value);
  virtual void updateCustomHeaders(const std::function<void(Headers&)>& body);

  /// The credential for authentication challenges of a request's own server.
  [[nodiscard]] virtual std::optional<URLCredential> credential() const;
  virtual void setCredential(std::optional<URLCredential> value);
  virtual void updateCredential(const std::function<void(std::optional<URLCredential>&)>& body);

  /// The factory of the builders.
  [[nodiscard]] virtual std::shared_ptr<const RequestBuilderFactory> requestBuilderFactory() const;
  virtual void setRequestBuilderFactory(std::shared_ptr<const RequestBuilderFactory> value);
  virtual void updateRequestBuilderFactory(
      const std::function<void(std::shared_ptr<const RequestBuilderFactory>&)>& body);

  /// The queue on which completions run for a request that wasn't sent, and for a failure that the
  /// interceptor didn't retry. It runs one block at a time and must outlive every request.
  [[nodiscard]] virtual MainQueue& apiResponseQueue() const;
  virtual void setApiResponseQueue(MainQueue& value);
  virtual void updateApiResponseQueue(const std::function<void(MainQueue*&)>& body);

  /// The settings for JSON bodies.
  [[nodiscard]] virtual std::shared_ptr<CodableHelper> codableHelper() const;
  virtual void setCodableHelper(std::shared_ptr<CodableHelper> value);
  virtual void updateCodableHelper(const std::function<void(std::shared_ptr<CodableHelper>&)>& body);

  /// The statuses that count as success.
  [[nodiscard]] virtual StatusCodeRange successfulStatusCodeRange() const;
  virtual void setSuccessfulStatusCodeRange(StatusCodeRange value);
  virtual void updateSuccessfulStatusCodeRange(const std::function<void(StatusCodeRange&)>& body);

  /// The interceptor of all requests.
  [[nodiscard]] virtual std::shared_ptr<OpenAPIInterceptor> interceptor() const;
  virtual void setInterceptor(std::shared_ptr<OpenAPIInterceptor> value);
  virtual void updateInterceptor(const std::function<void(std::shared_ptr<OpenAPIInterceptor>&)>& body);

  /// Whether the interceptor is a `DefaultOpenAPIInterceptor`, which builders need not call: it changes
  /// nothing. May be false for one, such as after `updateInterceptor` or in a class of the host.
  [[nodiscard]] bool hasDefaultInterceptor() const;

  /// The limits of all requests, which a builder may override. None are set at first.
  [[nodiscard]] virtual RequestLimits limits() const;
  virtual void setLimits(RequestLimits value);
  virtual void updateLimits(const std::function<void(RequestLimits&)>& body);

 private:
  enum Mark : unsigned {
    noMark = 0,
    customHeadersMark = 1,
    credentialMark = 2,
    limitsMark = 4,
    /// The interceptor may be another than a `DefaultOpenAPIInterceptor`. It is read under the lock, always.
    interceptorMark = 8,
    statusMark = 16
  };
  template <typename Field>
  void write(Field State::* field, Field value, Mark mark = noMark);
  template <typename Field>
  void update(Field State::* field, const std::function<void(Field&)>& body, Mark mark = noMark);

  detail::MarkedState<State> _state;
};

}  // namespace tilvanego
