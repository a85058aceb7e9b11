#pragma once

#include <concepts>
#include <cstddef>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/async/StopToken.h>
#include <tilvanego/async/Task.h>
#include <tilvanego/http_client/BodyType.h>
#include <tilvanego/http_client/Configuration.h>
#include <tilvanego/http_client/ErrorResponse.h>
#include <tilvanego/http_client/RequestTask.h>
#include <tilvanego/http_client/Response.h>
#include <tilvanego/http_client/encodings/AnyValue.h>
#include <tilvanego/network/OpenAPIMutex.h>
#include <tilvanego/network/Progress.h>
#include <tilvanego/network/URLCredential.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// What a request builder is made from.
struct RequestBuilderArguments {
  /// The text of an `HTTPMethod`. A send with any other text terminates the process.
  std::string method;
  /// The whole URL. One that can't be read fails the send, not the making.
  std::string URLString;
  std::optional<Parameters> parameters{};
  std::map<std::string, std::string> headers{};
  bool requiresAuthentication = false;
  /// Not null.
  std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration> apiConfiguration =
      OstrelTilvanePoiModelsAPIConfiguration::shared();
};

/// One call of an HTTP interface that has been described and can be sent: now, later, or several times. This
/// base sends nothing: `URLSessionImplementations.h` has the kinds that do, and a host derives kinds of its
/// own from them. Hosts make and use builders through `RequestBuilderOf<T>`, which knows the body's type T;
/// here it is a `BodyType`, so that steps of a send can be replaced at run time.
///
/// All operations may be called from any thread. A send that is under way keeps its builder alive.
class RequestBuilder : public std::enable_shared_from_this<RequestBuilder> {
 public:
  using Headers = std::map<std::string, std::string>;
  /// May throw: it only listens, so that the exception is dropped after one line on standard error.
  using ProgressReady = std::function<void(std::shared_ptr<Progress>)>;
  using Result = std::expected<AnyResponse, ErrorResponse>;
  /// May throw where it runs on a thread of the host's: the exception leaves by what drains
  /// `apiResponseQueue`, or by what the host's own session or `MemoryURLSession::deliver` was called with. On
  /// the thread of a `URLSession` nothing can catch it, and the process ends after one line on standard
  /// error.
  using Completion = std::function<void(Result)>;

  /// What constructors pass on to this base. Only `make` has one, so that every builder comes to life whole.
  class Construction {
    friend class RequestBuilder;
    Construction(const BodyType& type, RequestBuilderArguments given)
        : bodyType_(type), arguments_(std::move(given)) {}
    const BodyType& bodyType_;
    RequestBuilderArguments arguments_;
  };

  /// Makes a builder of a kind, whose constructor takes a `Construction` and then the extra arguments. It
  /// gets the configuration's custom headers, which win over the given ones, and the configuration's
  /// credential, both by the kind's own `addHeaders` and `addCredential`.
  template <std::derived_from<RequestBuilder> Kind, typename... Extra>
  static std::shared_ptr<Kind> make(const BodyType& bodyType, RequestBuilderArguments arguments,
                                    Extra&&... extra) {
    auto builder =
        std::make_shared<Kind>(Construction(bodyType, std::move(arguments)), std::forward<Extra>(extra)...);
    static_cast<RequestBuilder&>(*builder).takeFromConfiguration();
    return builder;
  }

  explicit RequestBuilder(Construction construction);
  RequestBuilder(const RequestBuilder&) = delete;
  RequestBuilder& operator=(const RequestBuilder&) = delete;
  virtual ~RequestBuilder() = default;

  const std::optional<Parameters> parameters;
  const std::string method;
  const std::string URLString;
  /// The handle of all sends of this builder; it shows the latest.
  const std::shared_ptr<RequestTask> requestTask;
  /// For the host: the library doesn't act on it.
  const bool requiresAuthentication;
  const std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration> apiConfiguration;
  const BodyType& bodyType;

  /// What answers the server's authentication challenge.
  [[nodiscard]] virtual std::optional<URLCredential> credential() const;
  virtual void setCredential(std::optional<URLCredential> value);
  virtual void updateCredential(const std::function<void(std::optional<URLCredential>&)>& body);

  [[nodiscard]] virtual Headers headers() const;
  virtual void setHeaders(Headers value);
  virtual void updateHeaders(const std::function<void(Headers&)>& body);

  // An update runs its body under the builder's lock: the body is short, and may throw, which leaves by the
  // update.

  /// Gets the progress of each try before it starts, on the thread that starts it.
  [[nodiscard]] virtual ProgressReady onProgressReady() const;
  virtual void setOnProgressReady(ProgressReady value);
  virtual void updateOnProgressReady(const std::function<void(ProgressReady&)>& body);

  /// Sets each of the fields, over one of the same name. Names are compared with their case.
  virtual void addHeaders(const Headers& fields);

  /// Sends the request and gives `requestTask` at once. The completion, which isn't empty, runs once, as the
  /// kind says. This base only gives the handle: its completion is never called.
  virtual std::shared_ptr<RequestTask> execute(Completion completion);
  void execute(std::nullptr_t) = delete;

  /// As `execute(completion)`, for coroutines: sends the request when it is awaited, and gives the response
  /// or throws an `ErrorResponse`, and nothing else. A request to stop cancels `requestTask`, also while the
  /// send is on its way; one that comes before it ends the call with `ErrorResponse::notExecuted` and nothing
  /// sent.
  virtual Task<AnyResponse> execute(StopToken stopToken = {});

  /// What `execute(stopToken)` awaits: the send without watching the token. Throws the `ErrorResponse` of the
  /// send, `CancellationError`, or what the send itself threw.
  virtual Task<AnyResponse> _execute(StopToken stopToken);

  /// Sets a field; an empty value changes nothing.
  virtual RequestBuilder& addHeader(const std::string& name, const std::string& value);

  /// Takes the configuration's credential, none included.
  virtual void addCredential();

 private:
  struct MutableState {
    std::optional<URLCredential> credential;
    Headers headers;
    /// Shared, so that nothing of the host's is copied under the lock.
    std::shared_ptr<const ProgressReady> onProgressReady;
  };
  void takeFromConfiguration();

  OpenAPIMutex<MutableState> _state;
};

}  // namespace tilvanego
