// Sets the options of a transfer's handle.

#include <algorithm>
#include <climits>
#include <new>
#include <utility>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/network/curl/CurlVersion.h>
#include <tilvanego/network/curl/Origins.h>
#include <tilvanego/network/curl/Transfer.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {
namespace {

/// libcurl sends a body of up to this size together with the head; longer bodies report progress.
constexpr std::size_t followedBodySize = std::size_t{64} * 1024;
/// The size of libcurl's upload buffer for them; otherwise it is 64 KiB.
constexpr long longBodyBuffer = 256L * 1024;

/// From this version on, libcurl knows on a used handle that a response has no field yet, and takes a folded
/// line for one.
constexpr unsigned knowsFirstField = 0x080100;

/// The longest head that surely fits in the 64 KiB which libcurl can send over HTTP/2: without its own fields
/// and its cookies, at most 8 KiB.
constexpr std::size_t longestHeadOfHTTP2 = 50'000;

template <typename Value>
void set(CURL* handle, CURLoption option, Value value) {
  // An option that this libcurl doesn't support keeps its default.
  static_cast<void>(curl_easy_setopt(handle, option, value));
}

}  // namespace

template <typename Value>
void Transfer::setAnew(CURLoption option, Value value, Value& former) {
  if (std::exchange(former, value) != value) set(handle(), option, value);
}

bool TransferSettings::allowUsedHandles() const {
  // `passFirstField` was examined for 7.88 only.
  const bool isSafe = curlVersion() >= knowsFirstField || curlVersion() >> 8U == 0x0758;
  return isSafe && proxies.areNone() && tls && tls->privateKey.empty();
}

void Transfer::measure() {
  if (measuring_ && isHandleUsed_) measuring_->add(handle(), !followsUpload_ && !expectsContinue_);
}

// Whether the request sets only options that each request sets anew. A field "Host" decides which cookies
// libcurl up to 8.0 sends with all further requests.
bool Transfer::sendsOrdinary() const {
  const auto& headers = request_->headers;
  return settings_.allowUsedHandles() && !request_->bodySource &&
         (!request_->httpBody || request_->httpBody->size() <= followedBodySize) &&
         std::ranges::none_of(headers.fields(), [](const auto& field) {
           return equalIgnoringASCIICase(field.name, "Host") ||
                  equalIgnoringASCIICase(field.name, "Cookie") ||
                  equalIgnoringASCIICase(field.name, "Expect");
         });
}

// Called when the request has ended.
bool Transfer::isHandleUsable(CURLcode result) const {
  return result == CURLE_OK && sends_ == 1 && connection_ == Connection::any && head_.isComplete() &&
         isOrdinary_;
}

void Transfer::takeHandle(bool fresh) {
  measure();
  if (measuring_) measuring_->noteTry();
  isOrdinary_ = sendsOrdinary();
  if (fresh || !isHandleClean_ || !isOrdinary_) renewHandle();
  isHandleUsed_ = true;
  isHandleClean_ = false;
  firstField_ = curlVersion() < knowsFirstField ? FirstField::awaited : FirstField::stored;
}

void Transfer::renewHandle() {
  handle_.reset(curl_easy_init());
  if (!handle_) throw std::bad_alloc();
  handleSettings_ = {};
  CURL* const curl = handle();
  set(curl, CURLOPT_PRIVATE, static_cast<void*>(this));
  set(curl, CURLOPT_ERRORBUFFER, errorText_.data());
  set(curl, CURLOPT_HEADERFUNCTION, &onHeader);
  set(curl, CURLOPT_HEADERDATA, static_cast<void*>(this));
  set(curl, CURLOPT_WRITEFUNCTION, &onBody);
  set(curl, CURLOPT_WRITEDATA, static_cast<void*>(this));
  set(curl, CURLOPT_XFERINFOFUNCTION, &onProgress);
  set(curl, CURLOPT_XFERINFODATA, static_cast<void*>(this));
  set(curl, CURLOPT_PREREQFUNCTION, &onSending);
  set(curl, CURLOPT_PREREQDATA, static_cast<void*>(this));
  sockets_.serve(curl);

  set(curl, CURLOPT_NOSIGNAL, 1L);
  set(curl, CURLOPT_PATH_AS_IS, 1L);
  set(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  // Never removed from the handle: the handle would create its own TLS session cache, which libcurl would
  // leak.
  set(curl, CURLOPT_SHARE, share_);
#if LIBCURL_VERSION_NUM >= 0x075500
  set(curl, CURLOPT_PROTOCOLS_STR, "http,https");
#else
  set(curl, CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
#endif
#if LIBCURL_VERSION_NUM >= 0x075700
  // A cancelled task doesn't wait for a host name lookup that the system hasn't finished.
  set(curl, CURLOPT_QUICK_EXIT, 1L);
#endif
  // The system's directory of certificates is still used.
  if (const auto& file = settings_.configuration.additionalCertificates; !file.empty()) {
    set(curl, CURLOPT_CAINFO, file.c_str());
  }
  if (setTLS(curl, *settings_.tls, identity()) != CURLE_OK) throw std::bad_alloc();
}

Identity Transfer::identity() const {
  if (settings_.tls->privateKey.empty()) return Identity::hidden;
  return originOf(*request_->url) == originOf(*task_->request().url) ? Identity::shown : Identity::hidden;
}

void Transfer::prepare(Connection connection) {
  takeHandle(connection == Connection::fresh);
  connection_ = connection;
  if (connection == Connection::fresh) set(handle(), CURLOPT_FRESH_CONNECT, 1L);
  localPort_ = 0;
  remotePort_ = 0;
  isConnectionStale_ = false;
  head_.clear();
  body_.clear();
  decoder_.reset();
  isBodyBroken_ = false;
  bodyBegun_ = false;
  responseLength_ = -1;
  uploaded_ = 0;
  streams_ = false;
  streamed_ = 0;
  isHeld_ = false;
  sent_ = 0;
  isSourceAtStart_ = false;
  sends_ = 0;
  sendsWithoutResponse_ = 0;
  refusal_.reset();
  errorText_.front() = '\0';
  lastActivity_ = Clock::now();
  setTarget();
  setMethodAndBody();
  setTimeout();
}

void Transfer::setTarget() {
  const auto& url = *request_->url;
  // User and password are used for a challenge only, and must not be in error texts.
  if (url.user()) {
    setURL(textWithoutUser(url));
  } else {
    setURL(url.absoluteString());
  }
  setProxy();
  // Only with TLS can a connection carry several requests at once; otherwise waiting for it costs time.
  setAnew(CURLOPT_PIPEWAIT, isSecure(url) ? 1L : 0L, handleSettings_.waitsForPipe);
}

void Transfer::setProxy() {
  const bool secure = isSecure(*request_->url);
  const auto& proxy = settings_.proxies.forScheme(secure);
  if (proxy.url.empty()) {
    // No host has one: so libcurl doesn't look for one in the environment.
    if (!std::exchange(handleSettings_.avoidsProxies, true)) set(handle(), CURLOPT_NOPROXY, "*");
    return;
  }
  set(handle(), CURLOPT_PROXY, proxy.url.c_str());
  set(handle(), CURLOPT_NOPROXY, settings_.proxies.exceptions.c_str());
  std::string value;
  const WipedAtEnd wiped(value);
  if (!proxyAuthorization_) {
    value = trimmedField(request_->headers.value("Proxy-Authorization").value_or(""));
    if (value.empty()) return;
  } else if (secure) {
    value = proxyAuthorization_->field("CONNECT", hostAndPort(*request_->url));
  } else {
    value = proxyAuthorization_->field(request_->httpMethod, wholeTarget());
  }
  proxyHeaders_.set({"Proxy-Authorization", value});
  set(handle(), CURLOPT_PROXYHEADER, proxyHeaders_.list());
}

// Returns the target of a request to a proxy, the whole URL as libcurl writes it.
std::string Transfer::wholeTarget() const {
  const std::unique_ptr<CURLU, Release<curl_url_cleanup>> url(curl_url_dup(url_.get()));
  char* text = nullptr;
  if (!url || curl_url_set(url.get(), CURLUPART_FRAGMENT, nullptr, 0) != CURLUE_OK ||
      curl_url_get(url.get(), CURLUPART_URL, &text, CURLU_NO_DEFAULT_PORT) != CURLUE_OK) {
    return textWithoutUser(*request_->url);
  }
  const std::unique_ptr<char, Release<curl_free>> owned(text);
  return text;
}

// Sets the parsed URL: with the text, libcurl would parse and rebuild it for each request. It has no user and
// no password, so it may be kept.
void Transfer::setURL(const std::string& text) {
  if (urlText_.empty() || text != urlText_) {
    const bool isRead =
        url_ && curl_url_set(url_.get(), CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS) == CURLUE_OK;
    urlText_ = isRead ? text : "";
    handleSettings_.hasURL = false;
  }
  if (handleSettings_.hasURL) return;
  const bool isRead = !urlText_.empty();
  handleSettings_.hasURL = isRead;
  // libcurl creates the error for a text that it can't read. No text may be left from the request before.
  set(handle(), CURLOPT_URL, isRead ? nullptr : text.c_str());
  set(handle(), CURLOPT_CURLU, isRead ? url_.get() : nullptr);
}

void Transfer::setMethodAndBody() {
  const auto& method = request_->httpMethod;
  const auto size = request_->httpBody ? request_->httpBody->size() : 0;
  // For these methods, servers expect "Content-Length: 0" if there is no body.
  const bool hasSource = request_->bodySource != nullptr;
  const bool announcesBody =
      hasSource || size > 0 || method == "POST" || method == "PUT" || method == "PATCH";
  std::string_view standard;
  if (hasSource) {
    standard = "PUT";
    set(handle(), CURLOPT_UPLOAD, 1L);
    set(handle(), CURLOPT_INFILESIZE_LARGE, sourceSize_ ? static_cast<curl_off_t>(*sourceSize_) : -1);
    set(handle(), CURLOPT_READFUNCTION, &onRead);
    set(handle(), CURLOPT_READDATA, static_cast<void*>(this));
    set(handle(), CURLOPT_SEEKFUNCTION, &onRewind);
    set(handle(), CURLOPT_SEEKDATA, static_cast<void*>(this));
  } else if (announcesBody) {
    standard = "POST";
    set(handle(), CURLOPT_POST, 1L);
    set(handle(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(size));
    // Not copied: the task holds the body as long as the transfer runs.
    set(handle(), CURLOPT_POSTFIELDS, size > 0 ? request_->httpBody->text().data() : "");
  } else {
    standard = method == "HEAD" ? "HEAD" : "GET";
    if (handleSettings_.method != standard) {
      // The body of the request before.
      if (handleSettings_.method.starts_with('P')) set(handle(), CURLOPT_POSTFIELDS, nullptr);
      set(handle(), method == "HEAD" ? CURLOPT_NOBODY : CURLOPT_HTTPGET, 1L);
    }
  }
  handleSettings_.method = standard;

  const std::string_view custom = method == standard ? std::string_view() : method;
  if (custom != handleSettings_.customMethod) {
    handleSettings_.customMethod = custom;
    set(handle(), CURLOPT_CUSTOMREQUEST, custom.empty() ? nullptr : handleSettings_.customMethod.c_str());
  }
  followsUpload_ = hasSource || size > followedBodySize;
  setHeaders(followsUpload_ ? OutgoingBody::any : announcesBody ? OutgoingBody::small : OutgoingBody::none);
  expectsContinue_ = request_->headers.value("Expect").has_value();
  if (followsUpload_) {
    set(handle(), CURLOPT_NOPROGRESS, 0L);
    set(handle(), CURLOPT_UPLOAD_BUFFERSIZE, longBodyBuffer);
  }
  const auto head = headers_.size() + request_->url->absoluteString().size();
  if (head > longestHeadOfHTTP2 && mayUseTLS()) setLongHead(head);
}

// libcurl 7.88 sends a head over TLS only if its upload buffer holds it whole, with the body that goes along.
void Transfer::setLongHead(std::size_t size) {
  set(handle(), CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  // A kept one may speak HTTP/2.
  connection_ = Connection::fresh;
  set(handle(), CURLOPT_FRESH_CONNECT, 1L);
  set(handle(), CURLOPT_UPLOAD_BUFFERSIZE, static_cast<long>(size) + longBodyBuffer);
}

void Transfer::setHeaders(OutgoingBody body) {
  // With cookies of the request, those of the session are switched off: libcurl would send them in a second
  // field. The empty file name only enables them.
  const bool usesCookies =
      settings_.configuration.cookies == CookieStorage::inMemory && !request_->headers.value("Cookie");
  if (usesCookies && !std::exchange(handleSettings_.sendsCookies, true))
    set(handle(), CURLOPT_COOKIEFILE, "");
  std::string value;
  const WipedAtEnd wiped(value);
  if (serverAuthorization_)
    value = serverAuthorization_->field(request_->httpMethod, pathAndQuery(*request_->url));
  headers_.set(request_->headers, body, {"Authorization", value});
  setAnew(CURLOPT_HTTPHEADER, headers_.list(), handleSettings_.fields);
}

// Sets the latest end of the task, redirects and challenges included.
void Transfer::setEnd() {
  static constexpr double longest = 1e9;
  const double seconds = settings_.configuration.maximumRequestTime;
  end_ = seconds > 0 && seconds < longest
             ? lastActivity_ +
                   std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))
             : Clock::time_point::max();
  if (request_->deadline) end_ = std::min(end_, *request_->deadline);
}

// Also sets libcurl's timeout for connecting, which it divides between the addresses of a host.
void Transfer::setTimeout() {
  limit_ = timeoutOf(*request_);
  const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(limit_).count();
  setAnew(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(milliseconds), handleSettings_.connectTimeout);
}

bool Transfer::mayUseTLS() const {
  const bool secure = isSecure(*request_->url);
  return secure || !settings_.proxies.forScheme(secure).url.empty();
}

std::chrono::steady_clock::duration timeoutOf(const URLRequest& request) {
  static constexpr double longest = INT_MAX / 1000;
  const double interval = request.timeoutInterval;
  const double seconds = interval > 0 ? std::min(interval, longest) : longest;
  return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
      std::chrono::duration<double>(seconds));
}

}  // namespace tilvanego::detail
