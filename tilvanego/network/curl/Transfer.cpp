#include <tilvanego/network/curl/Transfer.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <new>
#include <utility>

#include <tilvanego/network/HTTPHead.h>
#include <tilvanego/network/IdempotentMethods.h>
#include <tilvanego/network/curl/CurlVersion.h>
#include <tilvanego/network/curl/RequestRules.h>

namespace tilvanego::detail {
namespace {

using Code = TransportError::Code;

constexpr const char* outOfMemory = "out of memory";
constexpr const char* brokenBody = "the body isn't compressed as its head says";
constexpr const char* brokenHead =
    "the answer has too many header fields, too long ones, or a folded line before the first";
/// The number of bytes that are decompressed at a time.
constexpr std::size_t decodedPiece = std::size_t{16} * 1024;

/// libcurl 8.14 doesn't take a kept connection that has unread bytes. The versions before weren't examined.
constexpr unsigned looksForUnread = 0x080E00;

/// Whether a field of a head or a trailer is beyond libcurl's own limits. Up to 8.5, and for a trailer in
/// every version, libcurl reports that as a lack of memory.
bool isFieldTooLong(CURLcode result, bool isHeadComplete, std::string_view text) {
#if LIBCURL_VERSION_NUM >= 0x080600
  if (result == CURLE_TOO_LARGE) return true;
#endif
  return result == CURLE_OUT_OF_MEMORY && (!isHeadComplete || text.contains("chunked-encoding"));
}

std::size_t limitOf(std::uint64_t configured) {
  constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
  return configured == 0 ? most : static_cast<std::size_t>(std::min<std::uint64_t>(configured, most));
}

}  // namespace

Outcome Outcome::outOfMemory() {
  static const auto& error = *new TransportError{Code::unknown, detail::outOfMemory};
  return {.error = Failure::ofStatic(error)};
}

Outcome Outcome::failed(TransportError::Code code, const char* message) try {
  return {.error = TransportError{code, message}};
} catch (const std::bad_alloc&) {
  return outOfMemory();
}

Transfer::Transfer(const TransferSettings& settings, Sockets& sockets, CURLSH* share, Touched& touched)
    : settings_(settings),
      sockets_(sockets),
      touched_(touched),
      share_(share),
      head_(limitOf(settings.configuration.maximumHeadSize)) {}

Transfer::~Transfer() = default;

std::optional<Outcome> Transfer::begin(std::shared_ptr<SessionTask> task) {
  task_ = std::move(task);
  task_->transfer = this;
  request_ = &task_->request();
  try {
    if (auto checked = checkRequest(*request_); !checked) return Outcome{.error = std::move(checked.error())};
    if (!settings_.tls) return Outcome{.error = settings_.tls.error()};
    streamFailure_.reset();
    measureSource();
    if (streamFailure_) return Outcome{.error = *std::move(streamFailure_)};
    if (const auto& observer = settings_.configuration.observer) {
      measuring_.emplace(*observer, *settings_.gate, *request_);
    }
    answerAhead(false);
    answerAhead(true);
    prepare();
    setEnd();
    if (end_ <= lastActivity_) return Outcome::failed(Code::timedOut, timeoutMessage(lastActivity_));
    return std::nullopt;
  } catch (const std::exception&) {
    return Outcome::outOfMemory();
  }
}

void Transfer::tellEnd(const Outcome& outcome) {
  if (!measuring_) return;
  measure();
  measuring_->end(task_->request(), outcome, redirects_);
  measuring_.reset();
}

std::shared_ptr<SessionTask> Transfer::end() {
  // Aborting the transfer may have called a callback of libcurl.
  if (std::exchange(isTouched_, false)) std::erase(touched_, this);
  if (!isHandleClean_) handle_.reset();
  isHandleUsed_ = false;
  headers_.clear();
  proxyHeaders_.clear();
  redirected_.reset();
  redirects_ = 0;
  serverAuthorization_.reset();
  proxyAuthorization_.reset();
  spacesWithCredential_.clear();
  body_.clear();
  request_ = nullptr;
  task_->transfer = nullptr;
  return std::exchange(task_, nullptr);
}

std::optional<Outcome> Transfer::conclude(CURLcode result) try {
  isHandleClean_ = isHandleUsable(result);
  if (streamFailure_) return failedByStream();
  if (refusal_) return failed(refusal_->code, refusal_->message);
  if (isConnectionStale_) {
    prepare(Connection::fresh);
    return std::nullopt;
  }
  if (result != CURLE_OK && tunnelStatus() == 407 && respondToChallenge(true)) return std::nullopt;
  if (result != CURLE_OK) return failed(failureOf(result));

  // libcurl reports success for an incomplete head, and for an interim response without a final one.
  const int status = statusCode();
  if (!head_.isComplete() || status < 200) {
    return failed(Code::networkConnectionLost, "the connection ended inside the answer's head");
  }
  const auto goesOn = prepareNextRequest(status);
  if (!goesOn) return failed(goesOn.error());
  if (*goesOn) return std::nullopt;
  if (isBodyBroken_) return failed(Code::badServerResponse, brokenBody);
  if (decoder_ && !decoder_->isAtEnd()) {
    return failed(Code::badServerResponse, "the compressed body breaks off");
  }

  if (!bodyBegun_ && !beginStream()) return failedByStream();
  if (streams_ && !finishStream()) return failedByStream();
  const auto units = outgoingUnits() + static_cast<std::int64_t>(receivedSize());
  report(units, units);
  auto response = takeResponse(status);
  return Outcome{.data = body_.take(), .response = std::move(response)};
} catch (const std::exception&) {
  return Outcome::outOfMemory();
}

Outcome Transfer::failed(TransportError::Code code, const char* message) try {
  return failed(TransportError{code, message});
} catch (const std::bad_alloc&) {
  return Outcome::outOfMemory();
}

Outcome Transfer::failedByStream() {
  return {.response = head_.isComplete() ? takeResponse(statusCode()) : nullptr,
          .error = *std::move(streamFailure_)};
}

Outcome Transfer::failed(TransportError error) {
  return {.response = head_.isComplete() ? takeResponse(statusCode()) : nullptr, .error = std::move(error)};
}

URLResponsePointer Transfer::takeResponse(int status) {
  // Only a proxy has responded, or only an interim response came.
  if (status < 200) return nullptr;
  auto response =
      std::make_shared<HTTPURLResponse>(request_->url, status, UnreadHead{std::string(head_.lines())},
                                        measuring_ ? measuring_->metrics() : nullptr);
  head_.clear();
  return response;
}

int Transfer::statusCode() const {
  long status = 0;
  curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
  return static_cast<int>(status);
}

// The status of a proxy that has refused a tunnel; 0 until its head is complete, and without such a proxy.
long Transfer::tunnelStatus() const {
  if (!head_.isComplete() || settings_.proxies.areNone()) return 0;
  long status = 0;
  curl_easy_getinfo(handle(), CURLINFO_HTTP_CONNECTCODE, &status);
  return status >= 300 ? status : 0;
}

TransportError Transfer::failureOf(CURLcode result) const {
  const long status = tunnelStatus();
  if (status == 407) return {Code::proxyAuthenticationRequired, "the proxy answered 407"};
  if (status != 0) return {Code::cannotConnectToHost, "the proxy answered " + std::to_string(status)};
  long requestSize = 0;
  curl_easy_getinfo(handle(), CURLINFO_REQUEST_SIZE, &requestSize);
  if (requestSize > 0 && isFieldTooLong(result, head_.isComplete(), errorText_.data())) {
    return {Code::badServerResponse, "the answer has too long a header field"};
  }
  // With TLS 1.3 a server sees the certificate after the handshake. If it ends the connection at once,
  // libcurl can't send, and doesn't read the alert that says why.
  long connections = 0;
  curl_easy_getinfo(handle(), CURLINFO_NUM_CONNECTS, &connections);
  if (result == CURLE_SEND_ERROR && requestSize == 0 && connections > 0 && isSecure(*request_->url) &&
      identity() == Identity::shown) {
    return {
        Code::clientCertificateRefused,
        "the server ended the connection when it had the certificate of tls.certificate, before the request"};
  }
  return transportError(result, errorText_.data());
}

std::expected<bool, TransportError> Transfer::prepareNextRequest(int statusCode) {
  if (statusCode != 401) rememberAnswer(false);
  if (statusCode != 407 || isSecure(*request_->url)) rememberAnswer(true);
  if (statusCode == 401) return respondToChallenge(false);
  // Through a tunnel, a 407 can't come from the proxy.
  if (statusCode == 407) return !isSecure(*request_->url) && respondToChallenge(true);
  if (statusCode >= 300 && statusCode < 400 && request_->followsRedirects) return followRedirect(statusCode);
  return false;
}

void Transfer::noteActivity(Clock::time_point now) {
  isTouched_ = false;
  lastActivity_ = now;
  const auto completed = uploaded_ + static_cast<std::int64_t>(receivedSize());
  report(completed, totalUnits());
}

// libcurl tells of whole lines only, in a head, between chunks and in a trailer. A connection of HTTP/2 also
// receives bytes of other requests; there libcurl passes each frame on.
void Transfer::noteUnfinishedLine(Clock::time_point now) {
  if (isSecure(*request_->url)) {
    long version = CURL_HTTP_VERSION_NONE;
    curl_easy_getinfo(handle(), CURLINFO_HTTP_VERSION, &version);
    if (version != CURL_HTTP_VERSION_1_0 && version != CURL_HTTP_VERSION_1_1) return;
  }
  const auto since = sockets_.sinceLastByte(localPort_, remotePort_);
  if (since) lastActivity_ = std::max(lastActivity_, now - *since);
}

void Transfer::report(std::int64_t completed, std::int64_t total) {
  if (!task_->hasProgress()) return;
  settings_.gate->runHostCode([&] { task_->report(completed, total); });
}

const char* Transfer::timeoutMessage(Clock::time_point now) const {
  if (end_ > now) return "no byte came or went for the request's timeout interval";
  return request_->deadline == end_ ? "the whole request took longer than its limit"
                                    : "the whole request took longer than the session's maximum request time";
}

// Until the head is complete, one unit is added for the response, whose length is unknown, so that the
// progress of an upload isn't finished before the response.
std::int64_t Transfer::totalUnits() const {
  const auto outgoing = outgoingUnits();
  if (responseLength_ >= 0) return outgoing + responseLength_;
  return outgoing > 0 && !head_.isComplete() ? outgoing + 1 : -1;
}

// Can't fail: the loop has reserved the capacity.
void Transfer::touch() noexcept {
  if (!std::exchange(isTouched_, true)) touched_.push_back(this);
}

// The announced length isn't used for a compressed body, which has another length when it is decompressed.
void Transfer::bodyBegins() {
  bodyBegun_ = true;
  head_.bodyBegins();
  if (!beginStream()) return;
  const auto ofSession = streams_ ? 0 : settings_.configuration.maximumBodySize;
  maximumBodySize_ = limitOf(request_->maximumBodySize.value_or(ofSession));
  if (head_.hasContentEncoding()) {
    const auto head = readHead(head_.lines());
    if (const auto coding = contentCodingOf(head.headers.value("Content-Encoding").value_or(""))) {
      decoder_.emplace(*coding);
      return;
    }
  }
  curl_off_t announced = -1;
  curl_easy_getinfo(handle(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
  if (announced < 0) return;
  responseLength_ = announced;
  if (static_cast<std::uint64_t>(announced) <= maximumBodySize_) {
    if (!streams_) body_.expect(static_cast<std::size_t>(announced));
  } else {
    refuse(Code::bodyTooLarge, "the answer announces a larger body than is allowed");
  }
}

bool Transfer::takeBody(std::string_view bytes) {
  if (!bodyBegun_) bodyBegins();
  if (refusal_ || streamFailure_) return false;
  if (!decoder_ || isBodyBroken_) return appendToBody(bytes);
  std::array<char, decodedPiece> room;
  decoder_->feed(bytes);
  while (const auto count = decoder_->read(room)) {
    if (*count == 0) return true;
    if (!appendToBody({room.data(), *count})) return false;
  }
  // A redirect or a challenge need not fail for a body that nobody reads.
  isBodyBroken_ = statusCode() >= 300;
  if (!isBodyBroken_) refuse(Code::badServerResponse, brokenBody);
  return isBodyBroken_;
}

bool Transfer::appendToBody(std::string_view bytes) {
  if (bytes.size() > maximumBodySize_ - receivedSize()) {
    refuse(Code::bodyTooLarge, "the answer's body is larger than is allowed");
    return false;
  }
  if (streams_ && task_->isCancelled()) {
    refuse(Code::cancelled, "the task was cancelled");
    return false;
  }
  if (streams_) return writeToSink(bytes);
  body_.append(bytes.data(), bytes.size());
  return true;
}

std::size_t Transfer::onHeader(char* line, std::size_t size, std::size_t count, void* self) noexcept {
  auto& transfer = *static_cast<Transfer*>(self);
  const auto length = size * count;
  try {
    transfer.touch();
    if (std::exchange(transfer.sendsWithoutResponse_, 0) > 0 && !transfer.followsUpload_) {
      transfer.uploaded_ = transfer.outgoingUnits();
    }
    if (transfer.firstField_ != FirstField::stored) transfer.noteHeadLine({line, length});
    if (!transfer.head_.addLine({line, length})) {
      transfer.refuse(Code::badServerResponse, brokenHead);
    } else if (transfer.head_.hasBrokenLength()) {
      transfer.refuse(Code::badServerResponse, "the answer's \"Content-Length\" isn't one number");
    } else if (transfer.tunnelStatus() == 0) {
      return length;
    }
    // The body of a proxy that refuses a tunnel isn't received: while bytes of it come, libcurl reads them
    // without a look at anything else.
  } catch (const std::exception&) {
    transfer.refuse(Code::unknown, outOfMemory);
  }
  return 0;
}

std::size_t Transfer::onBody(char* bytes, std::size_t size, std::size_t count, void* self) noexcept {
  auto& transfer = *static_cast<Transfer*>(self);
  const auto length = size * count;
  // libcurl keeps the bytes, and passes them on again.
  if (transfer.isHeld_) return CURL_WRITEFUNC_PAUSE;
  if (transfer.firstField_ >= FirstField::next) return transfer.passFirstField({bytes, length}) ? length : 0;
  try {
    transfer.touch();
    if (transfer.takeBody({bytes, length})) return length;
  } catch (const std::exception&) {
    transfer.refuse(Code::unknown, outOfMemory);
  }
  return length == 0 ? 1 : 0;
}

// Called after libcurl has stored the line. Between a status line and the next one, libcurl passes the head
// to `onBody` too, which it calls first.
void Transfer::noteHeadLine(std::string_view line) {
  const bool isStatus = line.starts_with("HTTP/");
  const bool isEnd = line == "\r\n" || line == "\n";
  firstField_ = isStatus ? FirstField::next : isEnd ? FirstField::awaited : FirstField::stored;
  curl_easy_setopt(handle(), CURLOPT_HEADER, isStatus ? 1L : 0L);
}

// Refuses a folded line, which would have nothing to continue. libcurl doesn't store it then.
bool Transfer::passFirstField(std::string_view piece) {
  const bool isStart = std::exchange(firstField_, FirstField::passed) == FirstField::next;
  const bool isFolded = isStart && (piece.starts_with(' ') || piece.starts_with('\t'));
  if (isFolded) refuse(Code::badServerResponse, brokenHead);
  return !isFolded;
}

int Transfer::onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t uploaded) noexcept {
  auto& transfer = *static_cast<Transfer*>(self);
  if (transfer.uploaded_ == uploaded) return 0;
  transfer.uploaded_ = uploaded;
  transfer.touch();
  return 0;
}

// What a server sends on a kept connection before the request is no response to it, but libcurl 7.88 would
// read it as one. Nothing was sent yet, so a request of any method may take another connection. Bytes of TLS
// are left to libcurl: they need not be a response's.
//
// When a kept connection ends without a response, or a stream of HTTP/2 is refused, libcurl repeats the
// request without limit, whatever its method. The server may have processed it, so only an idempotent request
// is sent a second time.
int Transfer::onSending(void* self, char*, char*, int remotePort, int localPort) noexcept {
  auto& transfer = *static_cast<Transfer*>(self);
  if (curlVersion() < looksForUnread && transfer.connection_ == Connection::any &&
      !isSecure(*transfer.request_->url) && transfer.sockets_.hasUnread(localPort, remotePort)) {
    transfer.isConnectionStale_ = true;
    return CURL_PREREQFUNC_ABORT;
  }
  const int allowed = isIdempotent(transfer.request_->httpMethod) ? 2 : 1;
  if (transfer.sendsWithoutResponse_++ >= allowed) {
    transfer.refuse(Code::networkConnectionLost, "the connection ended before an answer came");
    return CURL_PREREQFUNC_ABORT;
  }
  ++transfer.sends_;
  transfer.localPort_ = localPort;
  transfer.remotePort_ = remotePort;
  transfer.touch();
  return CURL_PREREQFUNC_OK;
}

}  // namespace tilvanego::detail
