#pragma once

#include <any>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/http_client/CachesDirectory.h>
#include <tilvanego/http_client/DecodableRequestBuilderError.h>
#include <tilvanego/http_client/HTTPMethod.h>
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

namespace tilvanego {

/// Answers a challenge of the request's own server (scheme, host, port) with the credential of the builder
/// whose task was challenged. Else, and for a proxy or a server that a redirect led to, answers with the
/// storage's default credential for the protection space, else by default handling. A second challenge by the
/// same server is rejected, also for another realm: the credential was wrong.
class SessionDelegate : public URLSessionDelegate {
 public:
  URLAuthenticationResponse didReceiveChallenge(const URLSessionConfiguration& configuration,
                                                const URLSessionDataTaskProtocol& task,
                                                const URLAuthenticationChallenge& challenge) override;
  /// Lets the builder's credential go, also if the send was cancelled.
  void didEndTask(const URLSessionDataTaskProtocol& task) override;
};

/// What all sends of the process share, made on first use. The members are never replaced.
class URLSessionRequestBuilderConfiguration {
 public:
  static const URLSessionRequestBuilderConfiguration& shared();

  const std::shared_ptr<SessionDelegate> sessionDelegate;
  /// The session that requests go out by unless a builder brings its own.
  const std::shared_ptr<URLSession> defaultURLSession;
  /// The credentials of the tasks in flight by their identifiers. An entry goes when its task
  /// has ended, at the latest.
  const std::shared_ptr<SynchronizedDictionary<int, URLCredential>> credentialStore;

 private:
  URLSessionRequestBuilderConfiguration();
};

/// One request that was sent, by which session, and what came back for it.
struct URLSessionExchange {
  URLRequest request;
  std::shared_ptr<URLSessionProtocol> session;
  std::optional<Data> data;
  URLResponsePointer response;
};

/// Sends a request whose response has no body to decode. `URLSessionDecodableRequestBuilder` is the same with
/// bodies.
///
/// A send reads method, parameters and headers, encodes them on the calling thread, and hands the request to
/// the configuration's interceptor; once that has answered, to the session. The completion runs once. It runs
/// on the configuration's `apiResponseQueue` if the request couldn't be built (code 415), if the interceptor
/// refused it (415), and, after the interceptor's answer not to retry, if the session failed (-1), if no HTTP
/// response came (-2), or if the status is no success (the status). It runs on the session's thread for a
/// success, and for an answer that gives no body (the status, or 400 if it couldn't be written to a file).
///
/// What host code on the way throws is the cause of such a failure, an `ExceptionFailure`; so is a lack of
/// memory. `execute` throws nothing, but `std::bad_alloc` before anything began. If the queue itself throws,
/// the completion runs where the failure came.
///
/// These are faults of the program and end the process: a method that is no `HTTPMethod`, a "Content-Type"
/// that no encoding serves, a body type that the kind doesn't serve.
class URLSessionRequestBuilder : public RequestBuilder {
 public:
  using RequestBuilder::execute;
  using RequestBuilder::RequestBuilder;

  std::shared_ptr<RequestTask> execute(Completion completion) override;

  // What follows are the steps of a send, for kinds of a host's own to replace. They are called without a
  // lock held, and may throw: up to the session's task the request then counts as one that couldn't be built,
  // from `processRequestResponse` on as an answer that gives no body. After the completion has run, and in
  // `cleanUp`, the exception is dropped after one line on standard error.

  /// The session that the request goes out by; not null. Called for each try.
  virtual std::shared_ptr<URLSessionProtocol> createURLSession();

  /// The MIME type of a file in a multipart body; none: the type of its name's extension. Called on the
  /// thread that executes the builder.
  virtual std::optional<std::string> contentTypeForFormPart(const URL& fileURL);

  /// The request as the interceptor gets it. Its header fields are those of `buildHeaders()`, then those that
  /// the encoding sets; `headers` isn't read.
  virtual std::expected<URLRequest, Failure> createURLRequest(
      const std::shared_ptr<URLSessionProtocol>& urlSession, HTTPMethod method,
      const ParameterEncoding& encoding, const Headers& headers);

  /// The latest task has ended: lets its credential go.
  virtual void cleanUp();

  /// The try failed: asks the interceptor whether to go through `execute(completion)` once more.
  virtual void retry(const URLSessionExchange& exchange, int code, const Failure& failure,
                     const Completion& completion);

  /// The answer's status is a success, `response` is what `exchange.response` points to: tells the
  /// interceptor and the completion what the body is, or why there is none.
  virtual void processRequestResponse(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                                      const std::optional<Failure>& error, const Completion& completion);

  /// The configuration's custom headers, and over them those of the builder.
  virtual Headers buildHeaders();

  /// The decoded path without its first "/".
  virtual std::expected<std::string, Failure> pathOf(const URL& url);

  /// The text of "filename=" in a "Content-Disposition" field (RFC 6266) without its quotes; may be empty.
  virtual std::optional<std::string> fileNameFrom(const std::optional<std::string>& contentDisposition);

  /// Fails with `DownloadException::requestMissingURL`.
  virtual std::expected<URL, Failure> urlOf(const URLRequest& request);

 protected:
  /// Tells the interceptor, then the completion, of a success on this thread.
  void succeed(const URLSessionExchange& exchange, const HTTPURLResponse& response, std::any body,
               const Completion& completion);
  /// Tells the interceptor, then the completion, of a failure on this thread. Both hear of `data`.
  void fail(const URLSessionExchange& exchange, int code, const std::optional<Data>& data,
            const Failure& failure, const Completion& completion);

 private:
  std::shared_ptr<URLSessionRequestBuilder> self();
  void start(const Completion& completion);
  std::expected<URLRequest, Failure> build(std::shared_ptr<URLSessionProtocol>& urlSession);
  std::unique_ptr<ParameterEncoding> encodingFor(HTTPMethod httpMethod);
  void intercept(const URLRequest& request, const std::shared_ptr<URLSessionProtocol>& urlSession,
                 const Completion& completion);
  void refuse(const URLRequest& request, const std::shared_ptr<URLSessionProtocol>& urlSession,
              const Failure& failure, const Completion& completion);
  void send(const URLRequest& request, const std::shared_ptr<URLSessionProtocol>& urlSession,
            const Completion& completion);
  void finished(const URLSessionExchange& exchange, const std::optional<Failure>& error,
                const Completion& completion);
  std::optional<Failure> failureOf(const URLSessionExchange& exchange,
                                   const std::optional<Failure>& error) const;
  void executeAgain(const URLSessionExchange& exchange, const Completion& completion);
  void didFail(const URLSessionExchange& exchange, const std::optional<Data>& data, const Failure& failure);
  void failLater(const URLSessionExchange& exchange, int code, const Failure& failure,
                 const Completion& completion);
};

/// Sends a request, and makes its answer a body of the builder's type: text, a file, nothing, bytes, or what
/// the configuration's `codableHelper` reads from JSON.
///
/// Text that is no UTF-8 is the empty text. A file lies in `cachesDirectory()`, under the path of the
/// request's URL, with the file name that "Content-Disposition" gives or one of its own; an answer or a URL
/// whose names would lead elsewhere fails with code 400. An earlier file of the name is replaced at once.
class URLSessionDecodableRequestBuilder : public URLSessionRequestBuilder {
 public:
  using URLSessionRequestBuilder::URLSessionRequestBuilder;

  void processRequestResponse(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                              const std::optional<Failure>& error, const Completion& completion) override;

  /// Where downloaded files go: `CachesDirectory::path()`.
  [[nodiscard]] virtual std::filesystem::path cachesDirectory() const;

 private:
  std::expected<URL, Failure> tryDownload(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                                          const std::optional<Failure>& error);
  std::expected<URL, Failure> download(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                                       const std::optional<Failure>& error);
  void decode(const URLSessionExchange& exchange, const HTTPURLResponse& response,
              const Completion& completion);
};

/// Names the kinds above.
class URLSessionRequestBuilderFactory : public RequestBuilderFactory {
 public:
  [[nodiscard]] RequestBuilderKind getNonDecodableBuilder(const BodyType& bodyType) const override;
  [[nodiscard]] RequestBuilderKind getBuilder(const BodyType& bodyType) const override;
};

}  // namespace tilvanego
