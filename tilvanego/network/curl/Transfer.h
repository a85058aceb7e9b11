#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <curl/curl.h>

#include <tilvanego/network/Failure.h>
#include <tilvanego/network/TLSMaterial.h>
#include <tilvanego/network/TransportError.h>
#include <tilvanego/network/URLRequest.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/network/URLSession.h>
#include <tilvanego/network/curl/AnsweredChallenges.h>
#include <tilvanego/network/curl/Authorization.h>
#include <tilvanego/network/curl/ExitGate.h>
#include <tilvanego/network/curl/IncomingResponse.h>
#include <tilvanego/network/curl/Measuring.h>
#include <tilvanego/network/curl/Origins.h>
#include <tilvanego/network/curl/OutgoingHeaders.h>
#include <tilvanego/network/curl/Proxies.h>
#include <tilvanego/network/curl/SessionTask.h>
#include <tilvanego/network/curl/Sockets.h>
#include <tilvanego/network/curl/TLSSettings.h>
#include <tilvanego/values/Release.h>

namespace tilvanego::detail {

/// The settings that all transfers of a session share.
struct TransferSettings {
  URLSessionConfiguration configuration;
  std::shared_ptr<URLSessionDelegate> delegate;
  Proxies proxies;
  /// The error fails each request.
  std::expected<TLSMaterial, TransportError> tls;
  /// Null if the session remembers no challenges.
  std::shared_ptr<AnsweredChallenges> answered{};
  ExitGate* gate = &ExitGate::ofProcess();

  /// Whether requests may take used handles. With a proxy or a certificate of the client, a request may set
  /// options that another must not have.
  [[nodiscard]] bool allowUsedHandles() const;
};

/// The arguments of a completion.
struct Outcome {
  std::optional<Data> data{};
  URLResponsePointer response{};
  std::optional<Failure> error{};

  /// Returns `outOfMemory()` if there is no memory for the message.
  [[nodiscard]] static Outcome failed(TransportError::Code code, const char* message);
  /// Needs no memory, but for the first call.
  [[nodiscard]] static Outcome outOfMemory();
};

/// Converts a `CURLcode` of a transfer to an error for the host. `detail` is the text of libcurl's error
/// buffer. It may be empty; it isn't shown where it might contain a password.
[[nodiscard]] TransportError transportError(CURLcode code, std::string_view detail);

/// The request's `timeoutInterval`, at most some weeks.
[[nodiscard]] std::chrono::steady_clock::duration timeoutOf(const URLRequest& request);

/// Sends a task, with its redirects and challenges, and may send another when that has ended. Used by one
/// thread at a time.
///
/// A request takes the easy handle of the one before if that has left nothing behind that this one would
/// notice. For libcurl counts its repetitions of all requests of a handle together, so a request that was
/// repeated has the last one of its handle. And libcurl up to 8.0 keeps a pointer to the last field of a
/// response when it frees that: it would write there if the first field of the next response is folded. So
/// `passFirstField` sees that line before libcurl stores it.
class Transfer {
 public:
  using Clock = std::chrono::steady_clock;

  /// Transfers that had a callback of libcurl since the loop's last round, each once.
  using Touched = std::vector<Transfer*>;

  /// All arguments must outlive the transfer.
  Transfer(const TransferSettings& settings, Sockets& sockets, CURLSH* share, Touched& touched);
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  ~Transfer();

  /// Prepares the handle for the task's request. Returns an outcome if the request can't be sent.
  [[nodiscard]] std::optional<Outcome> begin(std::shared_ptr<SessionTask> task);

  /// Called when libcurl has ended with this code. Returns the outcome of the task, or no value if the handle
  /// is prepared for a further request. May call the delegate.
  [[nodiscard]] std::optional<Outcome> conclude(CURLcode result);

  /// Returns the outcome of a transfer that is aborted, with the response if its head is complete.
  [[nodiscard]] Outcome failed(TransportError::Code code, const char* message);

  /// Tells the session's observer of the end. Called before `end`.
  void tellEnd(const Outcome& outcome);

  /// Releases the task and returns it. Nothing of its requests is kept but their memory and the last URL.
  [[nodiscard]] std::shared_ptr<SessionTask> end();

  /// Called before the transfer is aborted: its connection isn't kept, unless other requests use it. libcurl
  /// 7.88 tells a server of HTTP/2 of an abort only with the next request on the connection, and would send
  /// that request even if the connection is dead.
  void abandon() noexcept {
    isHandleClean_ = false;
    curl_easy_setopt(handle(), CURLOPT_FORBID_REUSE, 1L);
  }

  /// Whether the handle is kept for another task.
  [[nodiscard]] bool keepsHandle() const { return handle_ != nullptr; }

  /// Lets a response flow that its sink holds up.
  void goOn();

  /// Called by the loop for each touched transfer: bytes were sent or received at `now`.
  void noteActivity(Clock::time_point now);
  /// Called by the loop when the deadline has passed: looks whether bytes came of which libcurl didn't tell.
  void noteUnfinishedLine(Clock::time_point now);
  /// The time at which the transfer times out if no byte is sent or received before.
  [[nodiscard]] Clock::time_point deadline() const {
    return isHeld_ ? end_ : std::min(lastActivity_ + limit_, end_);
  }
  /// The message for a transfer that has timed out.
  [[nodiscard]] const char* timeoutMessage(Clock::time_point now) const;

  [[nodiscard]] CURL* handle() const { return handle_.get(); }

  /// Whether the prepared request may need a connection of TLS.
  [[nodiscard]] bool mayUseTLS() const;

  /// The index of this transfer in the loop's active transfers.
  std::size_t position = 0;

 private:
  // Called by libcurl.
  static std::size_t onHeader(char* line, std::size_t size, std::size_t count, void* self) noexcept;
  static std::size_t onBody(char* bytes, std::size_t size, std::size_t count, void* self) noexcept;
  static std::size_t onRead(char* room, std::size_t size, std::size_t count, void* self) noexcept;
  static int onRewind(void* self, curl_off_t offset, int origin) noexcept;
  static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t uploaded) noexcept;
  static int onSending(void* self, char*, char*, int remotePort, int localPort) noexcept;

  void takeHandle(bool fresh);
  void renewHandle();
  [[nodiscard]] bool sendsOrdinary() const;
  [[nodiscard]] bool isHandleUsable(CURLcode result) const;
  void noteHeadLine(std::string_view line);
  [[nodiscard]] bool passFirstField(std::string_view piece);
  [[nodiscard]] Identity identity() const;
  void measure();
  enum class Connection { any, fresh };
  void prepare(Connection connection = Connection::any);
  template <typename Value>
  void setAnew(CURLoption option, Value value, Value& former);
  void setMethodAndBody();
  void setLongHead(std::size_t size);
  void setTarget();
  void setURL(const std::string& text);
  void setTimeout();
  void setEnd();
  void setHeaders(OutgoingBody body);
  void setProxy();
  [[nodiscard]] std::string wholeTarget() const;
  void touch() noexcept;
  void bodyBegins();
  [[nodiscard]] bool takeBody(std::string_view bytes);
  [[nodiscard]] bool appendToBody(std::string_view bytes);
  void refuse(TransportError::Code code, const char* message) noexcept {
    refusal_ = {code, message};
    abandon();
  }
  [[nodiscard]] std::int64_t totalUnits() const;
  [[nodiscard]] std::int64_t outgoingUnits() const;
  template <typename Call>
  [[nodiscard]] bool runStream(Call call);
  void measureSource();
  [[nodiscard]] bool beginStream();
  [[nodiscard]] bool writeToSink(std::string_view bytes);
  [[nodiscard]] bool finishStream();
  [[nodiscard]] bool readFromSource(std::span<std::uint8_t> room, std::size_t& count);
  [[nodiscard]] std::uint64_t receivedSize() const { return streams_ ? streamed_ : body_.size(); }
  void report(std::int64_t completed, std::int64_t total);

  [[nodiscard]] Outcome failed(TransportError error);
  [[nodiscard]] Outcome failedByStream();

  // Called after a response. Return true if the handle is prepared for a further request.
  [[nodiscard]] std::expected<bool, TransportError> prepareNextRequest(int statusCode);
  [[nodiscard]] std::expected<bool, TransportError> followRedirect(int statusCode);
  [[nodiscard]] bool respondToChallenge(bool fromProxy);
  [[nodiscard]] bool reviseAnswer(Authorization& authorization, const Challenge* challenge, bool fromProxy);
  [[nodiscard]] std::optional<Authorization> authorizationFor(
      const Challenge& challenge, bool fromProxy, const std::shared_ptr<ChallengeInUse>& known = nullptr);
  [[nodiscard]] bool nameServer(URLProtectionSpace& space, bool fromProxy) const;
  /// The path that a challenge of the request's server is for.
  [[nodiscard]] std::string_view guardedPath(bool fromProxy) const;
  void answerAhead(bool fromProxy);
  void rememberAnswer(bool fromProxy);
  [[nodiscard]] std::optional<URLAuthenticationChallenge> challengeFor(URLProtectionSpace space,
                                                                       bool fromProxy) const;
  [[nodiscard]] std::optional<URLCredential> credentialFor(const URLAuthenticationChallenge& challenge) const;
  [[nodiscard]] std::optional<URLCredential> proposedCredential(
      const URLAuthenticationChallenge& challenge) const;
  [[nodiscard]] URLResponsePointer takeResponse(int status);
  [[nodiscard]] int statusCode() const;
  [[nodiscard]] long tunnelStatus() const;
  [[nodiscard]] TransportError failureOf(CURLcode result) const;

  const TransferSettings& settings_;
  Sockets& sockets_;
  Touched& touched_;
  /// The parsed URL of the request, which the handle uses.
  std::unique_ptr<CURLU, Release<curl_url_cleanup>> url_{curl_url()};
  /// The text of it; empty if there is none.
  std::string urlText_;
  /// The data that the handles of a session share, such as cookies.
  CURLSH* const share_;
  std::unique_ptr<CURL, Release<curl_easy_cleanup>> handle_;
  /// Whether another request may take the handle, and whether the present one is of that kind.
  bool isHandleClean_ = false;
  bool isOrdinary_ = false;
  /// The task has sent a request by the handle.
  bool isHandleUsed_ = false;
  /// What the handle is set to, as far as the next request may keep it.
  struct HandleSettings {
    bool hasURL = false;
    bool sendsCookies = false;
    bool avoidsProxies = false;
    /// Of the option that is set, in static storage: a request of another method has a custom one too.
    std::string_view method{};
    std::string customMethod{};
    /// Of `OutgoingHeaders`, which may have other fields at the same place.
    curl_slist* fields = nullptr;
    long waitsForPipe = -1;
    long connectTimeout = -1;
  };
  HandleSettings handleSettings_;
  OutgoingHeaders headers_;
  OutgoingHeaders proxyHeaders_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};

  std::shared_ptr<SessionTask> task_;
  /// The task's request, or the one after a redirect.
  const URLRequest* request_ = nullptr;
  std::optional<URLRequest> redirected_;
  int redirects_ = 0;
  /// The responses to the last challenge of the request's server and of its proxy.
  std::optional<Authorization> serverAuthorization_;
  std::optional<Authorization> proxyAuthorization_;
  /// Has a value while an observer is to be told of the end.
  std::optional<Measuring> measuring_;
  Connection connection_ = Connection::any;
  /// The ports of the request's connection; 0 until it is sent.
  int localPort_ = 0;
  int remotePort_ = 0;
  /// Nothing was sent: see `onSending`.
  bool isConnectionStale_ = false;
  /// The servers, proxies and realms to which a credential of this task was sent.
  std::vector<URLProtectionSpace> spacesWithCredential_;

  ResponseHead head_;
  Body body_;
  std::uint64_t maximumBodySize_ = 0;
  /// The body goes to the request's sink: so much of it went there, and whether the sink can take more now.
  bool streams_ = false;
  std::uint64_t streamed_ = 0;
  bool isHeld_ = false;
  /// The size of the request's source, how much of it was read, and whether that began at its start.
  std::optional<std::uint64_t> sourceSize_;
  std::uint64_t sent_ = 0;
  bool isSourceAtStart_ = false;
  /// The failure of the source or the sink, which stops the transfer.
  std::optional<Failure> streamFailure_;
  /// Has a value if the body is compressed.
  std::optional<ContentDecoder> decoder_;
  /// It wasn't compressed as the head says, and isn't decompressed any more.
  bool isBodyBroken_ = false;
  bool bodyBegun_ = false;
  /// libcurl reports how much of the body was sent.
  bool followsUpload_ = false;
  /// The request waits for a 100 (Continue) before its body.
  bool expectsContinue_ = false;
  /// -1 while unknown.
  std::int64_t responseLength_ = -1;
  std::int64_t uploaded_ = 0;
  struct Refusal {
    TransportError::Code code;
    const char* message;
  };
  /// Set by a callback that stops the transfer.
  std::optional<Refusal> refusal_;
  /// How often libcurl started to send, and how often since the last byte of a response.
  int sends_ = 0;
  int sendsWithoutResponse_ = 0;
  /// The first field of a response, for libcurl up to 8.0.
  enum class FirstField : std::uint8_t {
    /// libcurl has stored one.
    stored,
    awaited,
    /// The next line of the head comes to `onBody` first.
    next,
    /// The first piece of that line has come.
    passed
  };
  FirstField firstField_ = FirstField::stored;

  bool isTouched_ = false;
  Clock::time_point lastActivity_;
  Clock::duration limit_{};
  /// The latest end of the whole request.
  Clock::time_point end_ = Clock::time_point::max();
};

}  // namespace tilvanego::detail
