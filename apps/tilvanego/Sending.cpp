#include "Sending.h"

#include <concepts>
#include <cstdio>
#include <expected>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <unistd.h>

#include <tilvanego/http_client/RequestBuilderWithSession.h>
#include <tilvanego/http_client/encodings/URLEncoding.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>
#include <tilvanego/platform/RunLoop.h>

#include "ExitStatus.h"
#include "ModelBody.h"
#include "ProgressBar.h"
#include "SendBody.h"
#include "SendInterceptor.h"
#include "Timings.h"

namespace tilvanego::program {
namespace {

void write(std::FILE* stream, std::string_view text) { std::fwrite(text.data(), 1, text.size(), stream); }

/// Replaces control characters by spaces: some causes quote text of a server, and the report must be one
/// line.
std::string oneLine(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  }
  return text;
}

int reportFailure(int code, const std::string& cause) {
  write(stderr, "error: " + std::to_string(code) + ": " + oneLine(cause) + "\n");
  return exitFailed;
}

/// The status line, the fields, and an empty line.
std::string headText(const URLResponsePointer& response) {
  const auto* http = dynamic_cast<const HTTPURLResponse*>(response.get());
  if (http == nullptr) return {};
  std::string text = http->statusLine() + "\n";
  for (const auto& [name, value] : http->headers().fields())
    text.append(name).append(": ").append(value).append("\n");
  return text + "\n";
}

std::string outputOf(std::string body) { return body; }
std::string outputOf(const Data& body) { return std::string(body.text()); }
std::string outputOf(const URL& body) { return body.path() + "\n"; }
std::string outputOf(Empty) { return {}; }
std::string outputOf(const JSONValue& body) {
  // A value that was read can be written.
  return json::encode(body, {.sortedKeys = true, .pretty = true}).value() + "\n";
}

/// One request, from its options to its response.
class Sending {
 public:
  Sending(const SendOptions& options, RequestBuilderArguments arguments);
  ~Sending();

  /// Sends, reads the body of the response as a T by a builder of the kind, and shows it.
  template <std::copy_constructible T,
            typename Kind = RequestBuilderWithSession<URLSessionDecodableRequestBuilder>, typename... Extra>
  int run(Extra&&... extra) {
    const RequestBuilderOf<T> builder(RequestBuilder::make<Kind>(bodyTypeOf<T>(), std::move(arguments_),
                                                                 session_, std::forward<Extra>(extra)...));
    const auto result = responseTo<T>(builder);
    bar_.finish();
    const int status = result ? showResponse(outputOf(result->body)) : showFailure(result.error());
    write(stderr, timings_->lines());
    return status;
  }

 private:
  template <typename T>
  std::expected<Response<T>, ErrorResponse> responseTo(const RequestBuilderOf<T>& builder);
  [[nodiscard]] int showResponse(const std::string& output) const;
  [[nodiscard]] int showFailure(const ErrorResponse& error) const;

  const SendOptions& options_;
  RequestBuilderArguments arguments_;
  ProgressBar bar_;
  std::shared_ptr<SendInterceptor> interceptor_;
  std::shared_ptr<Timings> timings_ = std::make_shared<Timings>();
  std::shared_ptr<URLSession> session_;
};

Sending::Sending(const SendOptions& options, RequestBuilderArguments arguments)
    : options_(options),
      arguments_(std::move(arguments)),
      interceptor_(std::make_shared<SendInterceptor>(options)),
      session_(std::make_shared<URLSession>(
          URLSessionConfiguration{.proxy = options.proxy,
                                  .additionalCertificates = options.certificate,
                                  .observer = options.timings ? timings_ : nullptr},
          URLSessionRequestBuilderConfiguration::shared().sessionDelegate)) {
  arguments_.apiConfiguration->setCredential(options.user);
  arguments_.apiConfiguration->setInterceptor(interceptor_);
}

// The session's thread releases its share of the session after the completion has returned. If that share
// were the last one, the thread would still be ending while the program ends.
Sending::~Sending() {
  while (session_.use_count() > 1) std::this_thread::yield();
}

template <typename T>
std::expected<Response<T>, ErrorResponse> Sending::responseTo(const RequestBuilderOf<T>& builder) {
  if (options_.progress && ::isatty(STDERR_FILENO) == 1) {
    builder->setOnProgressReady([this](const std::shared_ptr<Progress>& progress) { bar_.watch(progress); });
  }
  RunLoop& loop = RunLoop::main();
  std::optional<std::expected<Response<T>, ErrorResponse>> result;
  builder.execute([&](std::expected<Response<T>, ErrorResponse> response) {
    loop.post([&, response = std::move(response)]() mutable {
      result = std::move(response);
      loop.stop();
    });
  });
  loop.run();
  return *std::move(result);
}

int Sending::showResponse(const std::string& output) const {
  if (options_.include) write(stdout, headText(interceptor_->response()));
  write(stdout, output);
  if (std::fflush(stdout) == 0) return exitDone;
  write(stderr, "tilvanego send: the answer couldn't be written to standard output\n");
  return exitFailed;
}

int Sending::showFailure(const ErrorResponse& error) const {
  const int status = reportFailure(error.code(), error.underlyingFailure().description());
  if (options_.include) write(stderr, headText(error.response()));
  if (error.data()) write(stderr, error.data()->text());
  return status;
}

/// The runtime chooses the encoding of the body by the content type, and ends the process if it has none for
/// it. So the headers have the content type of the body's kind; the interceptor replaces it by the user's.
RequestBuilder::Headers headersOf(const SendOptions& options) {
  HTTPHeaders fields = options.headers;
  fields.remove("Content-Type");
  RequestBuilder::Headers headers;
  for (const auto& [name, value] : fields.fields()) headers.emplace(name, value);
  if (options.bodyKind != SendBodyKind::none)
    headers.emplace("Content-Type", contentTypeOf(options.bodyKind));
  return headers;
}

/// The URL with the query of the options. A URL that can't be read is returned unchanged: the runtime refuses
/// it.
std::string urlWithQuery(const SendOptions& options) {
  const auto url = URL::parse(options.url);
  if (!url || options.query.empty()) return options.url;
  const auto request = URLEncoding().encode({.url = *url}, parametersOf(options.query));
  return request && request->url ? request->url->absoluteString() : options.url;
}

}  // namespace

int runSend(const SendOptions& options) {
  auto parameters = bodyParameters(options);
  if (!parameters) return reportFailure(ErrorResponse::requestRefused, parameters.error());
  RequestBuilderArguments arguments{
      .method = std::string(rawText(options.method)),
      .URLString = urlWithQuery(options),
      .parameters = *std::move(parameters),
      .headers = headersOf(options),
  };
  Sending sending(options, std::move(arguments));
  switch (options.responseForm) {
    case ResponseForm::text:
      return sending.run<std::string>();
    case ResponseForm::bytes:
      return sending.run<Data>();
    case ResponseForm::json:
      return sending.run<JSONValue>();
    case ResponseForm::file:
      return sending.run<URL>();
    case ResponseForm::none:
      return sending.run<Empty>();
    case ResponseForm::model:
      return sending.run<std::string, ModelBuilder>(options.model);
  }
  return exitFailed;
}

}  // namespace tilvanego::program
