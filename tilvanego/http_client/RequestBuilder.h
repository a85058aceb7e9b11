#pragma once

#include <concepts>
#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/async/StopToken.h>
#include <tilvanego/async/Task.h>
#include <tilvanego/http_client/BodyType.h>
#include <tilvanego/http_client/BuilderBlock.h>
#include <tilvanego/http_client/Configuration.h>
#include <tilvanego/http_client/ErrorResponse.h>
#include <tilvanego/http_client/MarkedState.h>
#include <tilvanego/http_client/RequestLimits.h>
#include <tilvanego/http_client/RequestTask.h>
#include <tilvanego/http_client/Response.h>
#include <tilvanego/http_client/encodings/AnyValue.h>
#include <tilvanego/http_client/encodings/FlatMap.h>
#include <tilvanego/network/Progress.h>
#include <tilvanego/network/URLCredential.h>

namespace [[gnu::visibility("default")]] tilvanego {

class BodySink;
class BodySource;

/// The arguments of a request builder.
struct RequestBuilderArguments {
  /// The text of an `HTTPMethod`. Executing a builder with any other text ends the process.
  std::string method;
  /// The whole URL. If it isn't a URL, `execute` fails, not the creation of the builder.
  std::string URLString;
  std::optional<Parameters> parameters{};
  FlatMap<std::string> headers{};
  bool requiresAuthentication = false;
  /// Must not be null.
  std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration> apiConfiguration =
      OstrelTilvanePoiModelsAPIConfiguration::shared();
  /// They override the limits of the configuration.
  RequestLimits limits{};
};

/// Describes one request and sends it, any number of times. This base class sends nothing; the classes of
/// `URLSessionImplementations.h` do, and a host may derive from them. Create and use builders through
/// `RequestBuilderOf<T>`, where T is the type of the body; this class has a `BodyType` instead.
///
/// All operations may be called from any thread. A request that isn't finished keeps its builder alive.
class RequestBuilder : public std::enable_shared_from_this<RequestBuilder> {
 public:
  using Headers = FlatMap<std::string>;
  /// May throw: the exception is dropped after one line on standard error.
  using ProgressReady = std::function<void(std::shared_ptr<Progress>)>;
  using Result = std::expected<AnyResponse, ErrorResponse>;
  /// May throw: on a thread of the host, the exception leaves the host's own call that runs the completion,
  /// such as `RunLoop::run` or `MemoryURLSession::deliver`. On the thread of a `URLSession` it ends the
  /// process after one line on standard error.
  using Completion = std::function<void(Result)>;

  /// The argument that constructors of derived classes pass on to this base class. Only `make` can create it,
  /// so every builder is created by `make`.
  class Construction {
    friend class RequestBuilder;
    Construction(const BodyType& type, RequestBuilderArguments& given, std::shared_ptr<RequestTask>& task)
        : bodyType_(type), arguments_(given), task_(task) {}
    const BodyType& bodyType_;
    RequestBuilderArguments& arguments_;
    std::shared_ptr<RequestTask>& task_;
  };

  /// Creates a builder of the class `Kind`, whose constructor takes a `Construction` and then the extra
  /// arguments. Then calls its `addHeaders` with the configuration's custom headers, which override the given
  /// ones, and its `addCredential`.
  template <std::derived_from<RequestBuilder> Kind, typename... Extra>
  [[nodiscard]] static std::shared_ptr<Kind> make(const BodyType& bodyType,
                                                  RequestBuilderArguments&& arguments, Extra&&... extra) {
    auto builder =
        detail::BuilderBlock<Kind>::make([&](const auto& allocator, std::shared_ptr<RequestTask> task) {
          return std::allocate_shared<Kind>(allocator, Construction(bodyType, arguments, task),
                                            std::forward<Extra>(extra)...);
        });
    static_cast<RequestBuilder&>(*builder).takeFromConfiguration();
    return builder;
  }
  /// The same with a copy of the arguments.
  template <std::derived_from<RequestBuilder> Kind, typename... Extra>
  [[nodiscard]] static std::shared_ptr<Kind> make(const BodyType& bodyType,
                                                  const RequestBuilderArguments& arguments,
                                                  Extra&&... extra) {
    return make<Kind>(bodyType, RequestBuilderArguments(arguments), std::forward<Extra>(extra)...);
  }

  explicit RequestBuilder(Construction construction);
  RequestBuilder(const RequestBuilder&) = delete;
  RequestBuilder& operator=(const RequestBuilder&) = delete;
  virtual ~RequestBuilder() = default;

  const std::optional<Parameters> parameters;
  const std::string method;
  const std::string URLString;
  /// The handle of this builder's requests.
  const std::shared_ptr<RequestTask> requestTask;
  /// For the host: the library doesn't use it.
  const bool requiresAuthentication;
  const std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration> apiConfiguration;
  const BodyType& bodyType;

  /// The credential for authentication challenges of the request's own server.
  [[nodiscard]] virtual std::optional<URLCredential> credential() const;
  virtual void setCredential(std::optional<URLCredential> value);
  virtual void updateCredential(const std::function<void(std::optional<URLCredential>&)>& body);

  /// The header fields. Names are case-sensitive here.
  [[nodiscard]] virtual Headers headers() const;
  virtual void setHeaders(Headers value);
  virtual void updateHeaders(const std::function<void(Headers&)>& body);

  // The update functions call `body` under the builder's lock: it should be short. An exception of `body`
  // leaves the update.

  /// What each request may take. Each try reads the limits, but the time for the whole request is that of the
  /// first try.
  [[nodiscard]] virtual RequestLimits limits() const;
  virtual void setLimits(RequestLimits value);

  /// Sends the body in pieces; null for none. The parameters then are the query of the URL, whatever the
  /// method, and "Content-Type" is the host's alone. The source serves one request at a time.
  void setBodySource(std::shared_ptr<BodySource> value);
  [[nodiscard]] std::shared_ptr<BodySource> bodySource() const;
  /// Takes the body of a successful response in pieces; null for none. The body type must be `Empty`. The
  /// sink serves one request at a time.
  void setBodySink(std::shared_ptr<BodySink> value);
  [[nodiscard]] std::shared_ptr<BodySink> bodySink() const;

  /// Called with the progress of each try before the try starts, on the thread that starts it.
  [[nodiscard]] virtual ProgressReady onProgressReady() const;
  virtual void setOnProgressReady(ProgressReady value);
  virtual void updateOnProgressReady(const std::function<void(ProgressReady&)>& body);

  /// Sets each of the fields; a field of the same name is replaced. Names are case-sensitive here.
  virtual void addHeaders(const Headers& fields);

  /// Sends the request and returns `requestTask` at once. The completion must not be empty; it runs once, on
  /// a thread that the derived class documents. This base class never calls it.
  virtual std::shared_ptr<RequestTask> execute(Completion completion);
  void execute(std::nullptr_t) = delete;

  /// Sends the request, and returns when its completion would run. `URLSessionRequestBuilder` says which
  /// thread does what. For any other builder class the thread waits for the completion of `execute`: not even
  /// a failure may need this thread then. May be called in a completion, an interceptor or a delegate.
  ///
  /// `requestTask->cancel()` and a stop request cancel it, from any thread; a stop request before the call
  /// ends it with `ErrorResponse::notExecuted`. So does a completion that is dropped without a call, as by a
  /// `MemoryURLSession` that ends. Throws `std::bad_alloc` before anything is sent, and nothing else but what
  /// `execute` of a builder class of the host throws.
  [[nodiscard]] Result send(StopToken stopToken = {});

  /// For coroutines: sends the request when the task is awaited. Returns the response or throws an
  /// `ErrorResponse`, and nothing else. A stop request cancels `requestTask`; a stop request before the
  /// request is sent ends the call with `ErrorResponse::notExecuted`.
  [[nodiscard]] virtual Task<AnyResponse> execute(StopToken stopToken = {});

  /// The part of `execute(stopToken)` that sends the request, for derived classes to override. Throws an
  /// `ErrorResponse`, a `CancellationError`, or an exception of `execute(completion)`.
  [[nodiscard]] virtual Task<AnyResponse> _execute(StopToken stopToken);

  /// Sets a header field. Does nothing if `value` is empty.
  virtual RequestBuilder& addHeader(const std::string& name, const std::string& value);

  /// Sets the credential to the configuration's one, also if that has no value.
  virtual void addCredential();

 private:
  struct MutableState {
    std::optional<URLCredential> credential;
    Headers headers;
    RequestLimits limits;
    std::shared_ptr<BodySource> bodySource;
    std::shared_ptr<BodySink> bodySink;
    /// A shared pointer, so that the host's function isn't copied under the lock.
    std::shared_ptr<const ProgressReady> onProgressReady;
  };
  enum Mark : unsigned {
    credentialMark = 1,
    limitsMark = 2,
    bodySourceMark = 4,
    bodySinkMark = 8,
    onProgressReadyMark = 16,
    headersMark = 32
  };
  void takeFromConfiguration();

  detail::MarkedState<MutableState> _state;
};

}  // namespace tilvanego
