// How a transfer tells libcurl what to send. Options that no request changes are set once for a handle, and
// of the others those that differ from the handle's last request.

#include <algorithm>
#include <climits>
#include <cmath>

#include <sys/socket.h>

#include <tilvanego/network/curl/Origins.h>
#include <tilvanego/network/curl/Transfer.h>

namespace tilvanego::detail {

namespace {

/// libcurl sends a body up to this length together with the head; how longer ones come on is worth following.
constexpr std::size_t followedBodySize = std::size_t{64} * 1024;
/// What libcurl hands to the system at a time; libcurl's own choice is the first.
constexpr long usualBuffer = 64L * 1024;
constexpr long longBodyBuffer = 256L * 1024;

template <typename Value>
void set(CURL* handle, CURLoption option, Value value) {
  // Options that this libcurl doesn't have, or takes no value for, leave it at its default.
  static_cast<void>(curl_easy_setopt(handle, option, value));
}

// Programs that the host starts must not get the connections.
curl_socket_t openSocket(void*, curlsocktype, curl_sockaddr* address) {
#ifdef SOCK_CLOEXEC
  return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
#else
  return socket(address->family, address->socktype, address->protocol);
#endif
}

}  // namespace

void Transfer::setConstantOptions() {
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
  set(curl, CURLOPT_OPENSOCKETFUNCTION, &openSocket);

  set(curl, CURLOPT_NOSIGNAL, 1L);
  set(curl, CURLOPT_PATH_AS_IS, 1L);
  set(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  // Whoever compresses has it; others that libcurl knows would only make each request longer.
  set(curl, CURLOPT_ACCEPT_ENCODING, "gzip");
  // Bodies come as they are sent: for libcurl, a coding that it doesn't know is the end of the request.
  set(curl, CURLOPT_HTTP_CONTENT_DECODING, 0L);
  withholdCredential(serverOptions);
  set(curl, CURLOPT_PROXY, "");
  set(curl, CURLOPT_NOPROXY, settings_.proxies.exceptions.c_str());
#if LIBCURL_VERSION_NUM >= 0x075500
  set(curl, CURLOPT_PROTOCOLS_STR, "http,https");
#else
  set(curl, CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
#endif
#if LIBCURL_VERSION_NUM >= 0x075700
  // A look-up that hangs in the system's resolver doesn't hold up the thread when its task is given up.
  set(curl, CURLOPT_QUICK_EXIT, 1L);
#endif
  // The system's directory of certificates stays beside it.
  if (const auto& file = settings_.configuration.additionalCertificates; !file.empty()) {
    set(curl, CURLOPT_CAINFO, file.c_str());
  }
}

// An empty user and no method send nothing. Without any user libcurl would take the next challenge on this
// handle for a repetition of the first: it would send a refused credential twice and not see that a nonce has
// changed.
void Transfer::withholdCredential(const CredentialOptions& options) {
  set(handle(), options.user, "");
  set(handle(), options.password, "");
  set(handle(), options.method, CURLAUTH_NONE);
}

void Transfer::sendCredential(const CredentialOptions& options, const URLCredential& credential,
                              bool digest) {
  set(handle(), options.user, credential.user.c_str());
  set(handle(), options.password, credential.password.c_str());
  set(handle(), options.method, digest ? CURLAUTH_DIGEST : CURLAUTH_BASIC);
}

void Transfer::prepare() {
  head_.clear();
  body_ = {};
  decoder_.reset();
  bodyBegun_ = false;
  responseLength_ = -1;
  uploaded_ = 0;
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
  // The user and password are for a challenge, and for no error text.
  setURL(url.user() ? textWithoutUser(url) : url.absoluteString());
  const bool secure = isSecure(url);
  if (const auto& proxy = settings_.proxies.forScheme(secure); proxy != proxySet_) {
    set(handle(), CURLOPT_PROXY, proxy.url.c_str());
    if (proxy.credential) {
      sendCredential(proxyOptions, *proxy.credential, false);
    } else {
      withholdCredential(proxyOptions);
    }
    proxySet_ = proxy;
  }
  // Only with TLS can a connection turn out to carry many requests at once; elsewhere the wait would be lost.
  if (secure != waitsForMultiplexing_) {
    set(handle(), CURLOPT_PIPEWAIT, secure ? 1L : 0L);
    waitsForMultiplexing_ = secure;
  }
}

// Given the text alone, libcurl would take it apart and put it together again for each request.
void Transfer::setURL(const std::string& text) {
  if (urlSet_ == text) return;
  urlSet_ = text;
  const bool isRead =
      url_ && curl_url_set(url_.get(), CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS) == CURLUE_OK;
  set(handle(), CURLOPT_CURLU, isRead ? url_.get() : nullptr);
  // What can't be read libcurl is to refuse in its own words.
  if (!isRead) set(handle(), CURLOPT_URL, text.c_str());
}

void Transfer::setMethodAndBody() {
  const auto& method = request_->httpMethod;
  const auto size = request_->httpBody ? request_->httpBody->size() : 0;
  // Servers want to be told that these have no body.
  const bool announcesBody = size > 0 || method == "POST" || method == "PUT" || method == "PATCH";
  std::string_view standard;
  if (announcesBody) {
    standard = "POST";
    set(handle(), CURLOPT_POST, 1L);
    set(handle(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(size));
    // The bytes aren't copied: the task holds the body as long as the transfer.
    set(handle(), CURLOPT_POSTFIELDS, size > 0 ? request_->httpBody->text().data() : "");
  } else if (method == "HEAD") {
    standard = "HEAD";
    set(handle(), CURLOPT_NOBODY, 1L);
  } else {
    standard = "GET";
    set(handle(), CURLOPT_HTTPGET, 1L);
  }

  const bool custom = method != standard;
  if (custom || customMethodSet_) set(handle(), CURLOPT_CUSTOMREQUEST, custom ? method.c_str() : nullptr);
  customMethodSet_ = custom;

  // Libcurl would send the session's cookies beside the request's own, in a second field.
  const bool shares = !request_->headers.value("Cookie");
  if (shares != shareSet_) {
    set(handle(), CURLOPT_SHARE, shares ? share_ : nullptr);
    // No file: this turns the cookies on.
    set(handle(), CURLOPT_COOKIEFILE, shares ? "" : nullptr);
  }
  shareSet_ = shares;
  headers_.set(request_->headers, announcesBody);
  auto* const lines = headers_.list();
  if (lines || headersSet_) set(handle(), CURLOPT_HTTPHEADER, lines);
  headersSet_ = lines != nullptr;

  const bool follows = size > followedBodySize;
  if (follows != progressSet_) {
    set(handle(), CURLOPT_NOPROGRESS, follows ? 0L : 1L);
    set(handle(), CURLOPT_UPLOAD_BUFFERSIZE, follows ? longBodyBuffer : usualBuffer);
    progressSet_ = follows;
  }
}

// For the task as a whole, its redirects and challenges included.
void Transfer::setEnd() {
  static constexpr double longest = 1e9;
  const double seconds = settings_.configuration.maximumRequestTime;
  end_ = seconds > 0 && seconds < longest
             ? lastActivity_ +
                   std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))
             : Clock::time_point::max();
}

// The time to connect is given to libcurl too, which shares it out between the addresses of a host.
void Transfer::setTimeout() {
  static constexpr double longest = INT_MAX / 1000;
  const double interval = request_->timeoutInterval;
  const double seconds = interval > 0 ? std::min(interval, longest) : longest;
  limit_ = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  const auto milliseconds = static_cast<long>(std::ceil(seconds * 1000));
  if (milliseconds != connectTimeoutSet_) {
    set(handle(), CURLOPT_CONNECTTIMEOUT_MS, milliseconds);
    connectTimeoutSet_ = milliseconds;
  }
}

}  // namespace tilvanego::detail
