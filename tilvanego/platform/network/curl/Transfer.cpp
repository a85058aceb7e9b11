#include <tilvanego/platform/network/curl/Transfer.h>

#include <tilvanego/platform/network/curl/CurlErrors.h>
#include <tilvanego/platform/network/curl/Origins.h>
#include <tilvanego/platform/network/curl/RequestRules.h>

#include <new>
#include <utility>

namespace tilvanego::detail {

namespace {

using Code = TransportError::Code;

std::size_t bodySize(const URLRequest& request) { return request.httpBody ? request.httpBody->size() : 0; }

}  // namespace

Transfer::Transfer(const TransferSettings& settings, CURLSH* share, Touched& touched)
    : settings_(settings), touched_(touched), handle_(curl_easy_init()) {
  if (!handle_) throw std::bad_alloc();
  setConstantOptions(share);
}

Transfer::~Transfer() = default;

std::expected<void, TransportError> Transfer::begin(std::shared_ptr<SessionTask> task) {
  task_ = std::move(task);
  task_->transfer = this;
  request_ = &task_->request();
  if (auto checked = checkRequest(*request_); !checked) return checked;
  prepare();
  return {};
}

std::shared_ptr<SessionTask> Transfer::end() {
  // Being given up may have called back.
  if (std::exchange(isTouched_, false)) std::erase(touched_, this);
  request_ = nullptr;
  redirected_.reset();
  redirects_ = 0;
  task_->transfer = nullptr;
  return std::exchange(task_, nullptr);
}

std::optional<Outcome> Transfer::conclude(CURLcode result) {
  if (refusal_) return failed(*refusal_);
  long tunnelStatus = 0;
  curl_easy_getinfo(handle(), CURLINFO_HTTP_CONNECTCODE, &tunnelStatus);
  if (result != CURLE_OK && tunnelStatus == 407 && answersChallenge(true)) return std::nullopt;
  if (result != CURLE_OK) return failed(failureOf(result));

  long statusCode = 0;
  curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &statusCode);
  // For libcurl, a head that breaks off is a whole answer without a body, and so is an interim answer alone.
  if (!head_.isComplete() || statusCode < 200) {
    return failed({Code::networkConnectionLost, "the connection ended inside the answer's head"});
  }
  const auto goesOn = continues(static_cast<int>(statusCode));
  if (!goesOn) return failed(goesOn.error());
  if (*goesOn) return std::nullopt;

  const auto units = static_cast<std::int64_t>(bodySize(*request_) + body_.size());
  task_->report(units, units);
  auto response = takeResponse();
  return Outcome{.data = Data(body_.take()), .response = std::move(response)};
}

Outcome Transfer::failed(TransportError error) {
  return {.response = head_.isComplete() ? takeResponse() : nullptr, .error = std::move(error)};
}

URLResponsePointer Transfer::takeResponse() {
  long statusCode = 0;
  curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &statusCode);
  // Nothing but a proxy has answered, or an interim answer was the last.
  if (statusCode < 200) return nullptr;
  auto response = std::make_shared<HTTPURLResponse>(request_->url, static_cast<int>(statusCode),
                                                    UnreadHead{std::string(head_.lines())});
  head_.clear();
  return response;
}

TransportError Transfer::failureOf(CURLcode result) const {
  long tunnelStatus = 0;
  curl_easy_getinfo(handle(), CURLINFO_HTTP_CONNECTCODE, &tunnelStatus);
  if (tunnelStatus == 407) return {Code::proxyAuthenticationRequired, "the proxy answered 407"};
  if (tunnelStatus >= 300) {
    return {Code::cannotConnectToHost, "the proxy answered " + std::to_string(tunnelStatus)};
  }
  return transportError(result, errorText_.data());
}

std::expected<bool, TransportError> Transfer::continues(int statusCode) {
  if (statusCode == 401) return answersChallenge(false);
  if (statusCode == 407) return answersChallenge(true);
  if (statusCode >= 300 && statusCode < 400) return followsRedirect(statusCode);
  return false;
}

void Transfer::noteActivity(Clock::time_point now) {
  isTouched_ = false;
  lastActivity_ = now;
  const auto completed = uploaded_ + static_cast<std::int64_t>(body_.size());
  task_->report(completed, totalUnits());
}

// Until a head has come, one unit stands for an answer of unknown length, so that an upload isn't taken for
// finished before it is answered.
std::int64_t Transfer::totalUnits() const {
  const auto outgoing = static_cast<std::int64_t>(bodySize(*request_));
  if (answerLength_ >= 0) return outgoing + answerLength_;
  return outgoing > 0 && !head_.isComplete() ? outgoing + 1 : -1;
}

void Transfer::touch() {
  if (!std::exchange(isTouched_, true)) touched_.push_back(this);
}

// A decompressed body has another length than the announced one.
void Transfer::bodyBegins() {
  bodyBegun_ = true;
  head_.bodyBegins();
  curl_off_t announced = -1;
  curl_easy_getinfo(handle(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
  if (announced < 0) return;
  body_.expect(static_cast<std::size_t>(announced));
  if (!head_.hasContentEncoding()) answerLength_ = announced;
}

std::size_t Transfer::onHeader(char* line, std::size_t size, std::size_t count, void* self) noexcept {
  auto& transfer = *static_cast<Transfer*>(self);
  const auto length = size * count;
  try {
    transfer.touch();
    transfer.unansweredSends_ = 0;
    if (!transfer.progressSet_) transfer.uploaded_ = static_cast<std::int64_t>(bodySize(*transfer.request_));
    if (transfer.head_.addLine({line, length})) return length;
    transfer.refusal_ = {Code::badServerResponse, "the answer has too many header fields, or too long ones"};
  } catch (const std::exception&) {
    transfer.refusal_ = {Code::unknown, "out of memory"};
  }
  return 0;
}

std::size_t Transfer::onBody(char* bytes, std::size_t size, std::size_t count, void* self) noexcept {
  auto& transfer = *static_cast<Transfer*>(self);
  const auto length = size * count;
  try {
    transfer.touch();
    if (!transfer.bodyBegun_) transfer.bodyBegins();
    transfer.body_.append(bytes, length);
    return length;
  } catch (const std::exception&) {
    transfer.refusal_ = {Code::unknown, "not enough memory for the answer's body"};
    return length == 0 ? 1 : 0;
  }
}

int Transfer::onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t uploaded) noexcept {
  auto& transfer = *static_cast<Transfer*>(self);
  if (transfer.uploaded_ == uploaded) return 0;
  transfer.uploaded_ = uploaded;
  transfer.touch();
  return 0;
}

// When a kept connection ends without an answer, libcurl sends the request again on a new one, whatever its
// method. The server may have acted on it, so only what may be done twice is sent twice.
int Transfer::onSending(void* self, char*, char*, int, int) noexcept {
  auto& transfer = *static_cast<Transfer*>(self);
  if (transfer.unansweredSends_++ > 0 && !isIdempotent(transfer.request_->httpMethod)) {
    transfer.refusal_ = {Code::networkConnectionLost, "the connection ended before an answer came"};
    return CURL_PREREQFUNC_ABORT;
  }
  transfer.touch();
  return CURL_PREREQFUNC_OK;
}

}  // namespace tilvanego::detail
