#pragma once

#include <any>
#include <atomic>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include <tilvanego/http_client/CachesDirectory.h>
#include <tilvanego/http_client/DecodableRequestBuilderError.h>
#include <tilvanego/http_client/HTTPMethod.h>
#include <tilvanego/http_client/MadeOnce.h>
#include <tilvanego/http_client/OpenAPIInterceptor.h>
#include <tilvanego/http_client/RequestBuilder.h>
#include <tilvanego/http_client/RequestBuilderFactory.h>
#include <tilvanego/http_client/RequestBuilderOf.h>
#include <tilvanego/http_client/SynchronizedDictionary.h>
#include <tilvanego/http_client/encodings/DownloadException.h>
#include <tilvanego/http_client/encodings/ParameterEncoding.h>
#include <tilvanego/network/ExceptionFailure.h>
#include <tilvanego/network/URLAuthenticationChallenge.h>
#include <tilvanego/network/URLSession.h>
#include <tilvanego/network/URLSessionProtocol.h>

namespace tilvanego::detail {
struct WholeCall;
}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// The delegate of the library's builders. It responds to a challenge of the request's own server (scheme,
/// host, port) with the builder's credential. If there is none, and for a proxy or a server after a redirect,
/// it responds with the storage's default credential for the protection space, else with default handling. It
/// rejects a second challenge of the same server, for any realm: the credential was wrong.
class SessionDelegate : public URLSessionDelegate {
 public:
  URLAuthenticationResponse didReceiveChallenge(const URLSessionConfiguration& configuration,
                                                const URLSessionDataTaskProtocol& task,
                                                const URLAuthenticationChallenge& challenge) override;
  /// Removes the credential of the task from the `credentialStore`, also if the task was cancelled.
  void didEndTask(const URLSessionDataTaskProtocol& task) override;
};

/// The objects that all builders of the process share, created on first use. The members are never replaced.
class URLSessionRequestBuilderConfiguration {
 public:
  [[nodiscard]] static const URLSessionRequestBuilderConfiguration& shared();

  const std::shared_ptr<SessionDelegate> sessionDelegate;
  /// The session of builders that don't override `createURLSession`.
  const std::shared_ptr<URLSession> defaultURLSession;
  /// The builders' credentials by task identifier. An entry is removed when its task ends, or before.
  const std::shared_ptr<SynchronizedDictionary<int, URLCredential>> credentialStore;

 private:
  URLSessionRequestBuilderConfiguration();
};

/// A request that was sent, its session, and the result.
struct URLSessionExchange {
  URLRequest request;
  std::shared_ptr<URLSessionProtocol> session;
  std::optional<Data> data;
  URLResponsePointer response;
};

/// Sends a request and ignores the body of its response. `URLSessionDecodableRequestBuilder` decodes bodies.
///
/// `execute` encodes the request on the calling thread and passes it to the configuration's interceptor, and
/// then to the session. The completion runs once:
///
/// | Result | Code | The completion runs on |
/// |---|---|---|
/// | success | the status | the session's thread |
/// | the request can't be built, or the interceptor refused it | 415 | `apiResponseQueue` |
/// | the session failed, and the interceptor doesn't retry | -1 | `apiResponseQueue` |
/// | the response isn't HTTP, and the interceptor doesn't retry | -2 | `apiResponseQueue` |
/// | the status isn't a success, and the interceptor doesn't retry | the status | `apiResponseQueue` |
/// | the body can't be decoded | the status | the session's thread |
/// | the body can't be written to a file | 400 | the session's thread |
///
/// `send` runs all of this on the calling thread, the completion included, and doesn't use the queue. Two
/// things may be elsewhere: what an interceptor does on another thread, and the work of a session that can't
/// send on the calling thread, which then waits. A derived class whose `execute` passes on another completion
/// than the one that it gets is like any other builder class: `send` waits for its completion to run as in
/// the table.
///
/// An exception of a callback, and a lack of memory, become the cause of such a failure, an
/// `ExceptionFailure`. `execute` itself throws only `std::bad_alloc`, before it does anything. If the queue
/// throws, the completion runs on the thread of the failure.
///
/// These programming errors end the process: a method that isn't an `HTTPMethod`, a "Content-Type" without an
/// encoding, a body type that the builder class doesn't support.
class URLSessionRequestBuilder : public RequestBuilder {
 public:
  using RequestBuilder::execute;
  using RequestBuilder::RequestBuilder;

  std::shared_ptr<RequestTask> execute(Completion completion) override;

  // The steps of `execute`, which a derived class may override. They are called without a lock held.
  //
  // May throw: up to the creation of the session's task the exception counts as a request that can't be
  // built, from `processRequestResponse` on as a body that can't be decoded. In `cleanUp`, and after the
  // completion has run, it is dropped after one line on standard error.

  /// Returns the session that sends the request, never null. Called for each try.
  [[nodiscard]] virtual std::shared_ptr<URLSessionProtocol> createURLSession();

  /// Returns the MIME type of a file in a multipart body, or no value to use the type of its file extension.
  /// Called on the thread that executes the builder.
  [[nodiscard]] virtual std::optional<std::string> contentTypeForFormPart(const URL& fileURL);

  /// Returns the request for the interceptor. Its header fields are those of `buildHeaders()` and those that
  /// the encoding sets; `headers` isn't used.
  [[nodiscard]] virtual std::expected<URLRequest, Failure> createURLRequest(
      const std::shared_ptr<URLSessionProtocol>& urlSession, HTTPMethod method,
      const ParameterEncoding& encoding, const Headers& headers);

  /// Called when the latest task has ended: removes its credential from the `credentialStore`.
  virtual void cleanUp();

  /// Called when a try has failed: asks the interceptor whether to call `execute(completion)` again.
  virtual void retry(const URLSessionExchange& exchange, int code, const Failure& failure,
                     const Completion& completion);

  /// Called when the response has a successful status. Must call `succeed` with the body or `fail`.
  /// `response` is the object of `exchange.response`.
  virtual void processRequestResponse(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                                      const std::optional<Failure>& error, const Completion& completion);

  /// Returns the configuration's custom headers and the builder's headers, which override them.
  [[nodiscard]] virtual Headers buildHeaders();

  /// Returns the decoded path without its first "/".
  [[nodiscard]] virtual std::expected<std::string, Failure> pathOf(const URL& url);

  /// Returns the value of "filename=" in a "Content-Disposition" field (RFC 6266), without quotes. It may be
  /// empty. No value if there is no such field or parameter.
  [[nodiscard]] virtual std::optional<std::string> fileNameFrom(
      const std::optional<std::string>& contentDisposition);

  /// Returns the request's URL, or the error `DownloadException::requestMissingURL`.
  [[nodiscard]] virtual std::expected<URL, Failure> urlOf(const URLRequest& request);

 protected:
  /// Passes the body to the interceptor's `didComplete` and to the completion, on this thread.
  void succeed(const URLSessionExchange& exchange, const HTTPURLResponse& response, std::any body,
               const Completion& completion);
  /// Passes the failure and `data` to the interceptor's `didComplete` and to the completion, on this thread.
  void fail(const URLSessionExchange& exchange, int code, const std::optional<Data>& data,
            const Failure& failure, const Completion& completion);

 private:
  [[nodiscard]] static Completion runOnce(Completion completion);
  struct Try;
  void start(Completion completion, const std::shared_ptr<detail::WholeCall>& call);
  std::expected<URLRequest, Failure> build(std::shared_ptr<URLSessionProtocol>& urlSession);
  std::shared_ptr<const ParameterEncoding> encodingFor(HTTPMethod httpMethod, const Headers& fields);
  void intercept(const std::shared_ptr<Try>& attempt, const std::shared_ptr<RequestBuilder>& builder,
                 const detail::WholeCall& call);
  void refuse(const URLRequest& request, const std::shared_ptr<URLSessionProtocol>& urlSession,
              const Failure& failure, const Completion& completion);
  void sendBySession(const std::shared_ptr<Try>& attempt);
  static void failToResume(Try& attempt, const detail::WholeCall& call);
  static void failToStart(Try& attempt);
  static bool finish(Try& own, std::optional<Data>&& data, URLResponsePointer&& response,
                     const std::optional<Failure>& error);
  void finished(const URLSessionExchange& exchange, const std::shared_ptr<RequestBuilder>& builder,
                const std::optional<Failure>& error, const Completion& completion);
  std::optional<Failure> failureOf(const HTTPURLResponse* response,
                                   const std::optional<Failure>& error) const;
  void executeAgain(const URLSessionExchange& exchange, const Completion& completion);
  void didFail(const URLSessionExchange& exchange, const std::optional<Data>& data, const Failure& failure);
  void failLater(const URLSessionExchange& exchange, int code, const Failure& failure,
                 const Completion& completion);
  std::optional<URL> parsedURL();

  /// A request before its encoding, and what it was made of.
  struct Draft {
    Headers fields;
    RequestLimits limits;
    URLRequest request;
    [[nodiscard]] bool isFor(HTTPMethod method, const Headers& otherFields,
                             const RequestLimits& otherLimits) const;
  };
  /// The builder's second request, for the further ones.
  detail::MadeOnce<Draft> draft_;
  std::atomic<bool> wasBuilt_ = false;
};

/// Sends a request and decodes the body of its response as the builder's body type: text, a file, nothing,
/// bytes, or JSON, which the configuration's `codableHelper` decodes.
///
/// Text that isn't UTF-8 becomes the empty text. A file is written to `cachesDirectory()`, below the path of
/// the request's URL, with the file name of "Content-Disposition" or a new unique one. It replaces an earlier
/// file atomically. A path or name that leads outside the directory fails with code 400.
class URLSessionDecodableRequestBuilder : public URLSessionRequestBuilder {
 public:
  using URLSessionRequestBuilder::URLSessionRequestBuilder;

  void processRequestResponse(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                              const std::optional<Failure>& error, const Completion& completion) override;

  /// Returns the directory of downloaded files; `CachesDirectory::path()` by default.
  [[nodiscard]] virtual std::filesystem::path cachesDirectory() const;

 private:
  std::expected<URL, Failure> download(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                                       const std::optional<Failure>& error);
  void decode(const URLSessionExchange& exchange, const HTTPURLResponse& response,
              const Completion& completion);
};

/// The default factory, which creates builders of the two classes above.
class URLSessionRequestBuilderFactory : public RequestBuilderFactory {
 public:
  [[nodiscard]] RequestBuilderKind getNonDecodableBuilder(const BodyType& bodyType) const override;
  [[nodiscard]] RequestBuilderKind getBuilder(const BodyType& bodyType) const override;
};

}  // namespace tilvanego
