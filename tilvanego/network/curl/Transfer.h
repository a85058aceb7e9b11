#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <curl/curl.h>

#include <tilvanego/network/Failure.h>
#include <tilvanego/network/TransportError.h>
#include <tilvanego/network/URLRequest.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/network/URLSession.h>
#include <tilvanego/network/curl/Body.h>
#include <tilvanego/network/curl/ContentDecoder.h>
#include <tilvanego/network/curl/ExitGate.h>
#include <tilvanego/network/curl/Origins.h>
#include <tilvanego/network/curl/OutgoingHeaders.h>
#include <tilvanego/network/curl/Proxies.h>
#include <tilvanego/network/curl/ResponseHead.h>
#include <tilvanego/network/curl/SessionTask.h>

namespace tilvanego::detail {

/// What all transfers of a session have in common.
struct TransferSettings {
  URLSessionConfiguration configuration;
  std::shared_ptr<URLSessionDelegate> delegate;
  Proxies proxies;
  ExitGate* gate = &ExitGate::ofProcess();
};

/// What a completion is told.
struct Outcome {
  std::optional<Data> data{};
  URLResponsePointer response{};
  std::optional<Failure> error{};

  /// Where even the message finds no memory, the same as `outOfMemory`.
  static Outcome failed(TransportError::Code code, const char* message);
  static Outcome outOfMemory() {
    return {.error = TransportError{TransportError::Code::unknown, "out of memory"}};
  }
};

/// The options of libcurl that say who is calling, whom.
struct CredentialOptions {
  CURLoption user;
  CURLoption password;
  CURLoption method;
};
inline constexpr CredentialOptions serverOptions = {CURLOPT_USERNAME, CURLOPT_PASSWORD, CURLOPT_HTTPAUTH};
inline constexpr CredentialOptions proxyOptions = {CURLOPT_PROXYUSERNAME, CURLOPT_PROXYPASSWORD,
                                                   CURLOPT_PROXYAUTH};

/// One easy handle of libcurl and the task that it carries, redirects and challenges included. Belongs to the
/// session's thread.
class Transfer {
 public:
  using Clock = std::chrono::steady_clock;

  /// Transfers that libcurl called back for, until the loop has looked at them. Each stands there once.
  using Touched = std::vector<Transfer*>;

  /// All three outlive the transfer. Throws std::bad_alloc if libcurl has no handle.
  Transfer(const TransferSettings& settings, CURLSH* share, Touched& touched);
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  ~Transfer();

  /// Takes the task on and makes the handle ready for its request, or says why it can't be sent.
  [[nodiscard]] std::optional<Outcome> begin(std::shared_ptr<SessionTask> task);

  /// After libcurl has ended with this code: what the task's completion is to be told, or nothing if the
  /// handle has been made ready for a further request. May ask the delegate.
  [[nodiscard]] std::optional<Outcome> conclude(CURLcode result);

  /// What the completion is told if the transfer is given up.
  [[nodiscard]] Outcome failed(TransportError::Code code, const char* message);

  /// Lets go of the task; gives it.
  std::shared_ptr<SessionTask> end();

  /// Whether the handle may carry another task: not when it has credentials or a server's challenge in it.
  [[nodiscard]] bool isReusable() const { return !challenged_; }

  /// The loop's answer to being touched: bytes came or went at `now`.
  void noteActivity(Clock::time_point now);
  /// When the transfer is to be given up if nothing happens until then.
  [[nodiscard]] Clock::time_point deadline() const { return std::min(lastActivity_ + limit_, end_); }
  /// Says why, once that has come.
  [[nodiscard]] const char* timeoutMessage(Clock::time_point now) const;

  [[nodiscard]] CURL* handle() const { return handle_.get(); }

  /// Where the loop keeps this transfer.
  std::size_t position = 0;

 private:
  struct Deleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  };
  struct URLDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
  };

  // Called by libcurl.
  static std::size_t onHeader(char* line, std::size_t size, std::size_t count, void* self) noexcept;
  static std::size_t onBody(char* bytes, std::size_t size, std::size_t count, void* self) noexcept;
  static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t uploaded) noexcept;
  static int onSending(void* self, char*, char*, int, int) noexcept;

  void setConstantOptions();
  void prepare();
  void setMethodAndBody();
  void setTarget();
  void setURL(const std::string& text);
  void setTimeout();
  void setEnd();
  void withholdCredential(const CredentialOptions& options);
  void sendCredential(const CredentialOptions& options, const URLCredential& credential, bool digest);
  void touch() noexcept;
  void bodyBegins();
  [[nodiscard]] bool takeBody(std::string_view bytes);
  [[nodiscard]] bool appendToBody(std::string_view bytes);
  void refuse(TransportError::Code code, const char* message) noexcept { refusal_ = {code, message}; }
  [[nodiscard]] std::int64_t totalUnits() const;
  void report(std::int64_t completed, std::int64_t total);

  [[nodiscard]] std::optional<Outcome> concludeResponse(CURLcode result);
  [[nodiscard]] Outcome failed(TransportError error);

  // What follows on an answer, if it isn't the last: true if the handle is ready for another request.
  [[nodiscard]] std::expected<bool, TransportError> prepareNextRequest(int statusCode);
  [[nodiscard]] std::expected<bool, TransportError> followRedirect(int statusCode);
  [[nodiscard]] bool respondToChallenge(bool fromProxy);
  [[nodiscard]] std::optional<URLAuthenticationChallenge> challengeFor(URLProtectionSpace space,
                                                                       bool fromProxy) const;
  [[nodiscard]] std::optional<URLCredential> credentialFor(const URLAuthenticationChallenge& challenge) const;
  [[nodiscard]] std::optional<URLCredential> proposedCredential(
      const URLAuthenticationChallenge& challenge) const;
  [[nodiscard]] URLResponsePointer takeResponse();
  [[nodiscard]] TransportError failureOf(CURLcode result) const;

  const TransferSettings& settings_;
  Touched& touched_;
  /// The URL of the request, taken apart; the handle uses it.
  std::unique_ptr<CURLU, URLDeleter> url_{curl_url()};
  /// What the handles of a session have in common, cookies among it.
  CURLSH* const share_;
  std::unique_ptr<CURL, Deleter> handle_;
  OutgoingHeaders headers_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};

  std::shared_ptr<SessionTask> task_;
  /// The task's request, or the one that followed on a redirect.
  const URLRequest* request_ = nullptr;
  std::optional<URLRequest> redirected_;
  int redirects_ = 0;
  /// The handle has a server's challenge in it.
  bool challenged_ = false;
  /// Who got a credential of this task, and for which realm.
  std::vector<URLProtectionSpace> spacesWithCredential_;

  ResponseHead head_;
  Body body_;
  std::uint64_t maximumBodySize_ = 0;
  /// For a body that comes compressed.
  std::optional<ContentDecoder> decoder_;
  bool bodyBegun_ = false;
  /// -1 while unknown.
  std::int64_t responseLength_ = -1;
  std::int64_t uploaded_ = 0;
  struct Refusal {
    TransportError::Code code;
    const char* message;
  };
  /// Said by a callback that had to stop the transfer.
  std::optional<Refusal> refusal_;
  /// How often libcurl began to send since the last byte of an answer.
  int sendsWithoutResponse_ = 0;

  bool isTouched_ = false;
  Clock::time_point lastActivity_;
  Clock::duration limit_{};
  /// Of the whole request.
  Clock::time_point end_ = Clock::time_point::max();

  // What the handle is set to, so that only what differs is set again.
  std::string urlSet_;
  Proxy proxySet_;
  long connectTimeoutSet_ = 0;
  bool customMethodSet_ = false;
  bool progressSet_ = false;
  bool headersSet_ = false;
  bool shareSet_ = false;
  bool waitsForMultiplexing_ = false;
};

}  // namespace tilvanego::detail
