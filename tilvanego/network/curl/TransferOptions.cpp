// Sets the options of a transfer's handle: those that are equal for all requests once, the others if they
// differ from the handle's last request.

#include <algorithm>
#include <climits>
#include <cmath>
#include <new>
#include <utility>

#include <tilvanego/network/curl/Origins.h>
#include <tilvanego/network/curl/Transfer.h>

namespace tilvanego::detail {
namespace {

/// libcurl sends a body of up to this size together with the head; longer bodies report progress.
constexpr std::size_t followedBodySize = std::size_t{64} * 1024;
/// The size of libcurl's upload buffer; the first is libcurl's default.
constexpr long usualBuffer = 64L * 1024;
constexpr long longBodyBuffer = 256L * 1024;

template <typename Value>
void set(CURL* handle, CURLoption option, Value value) {
  // An option that this libcurl doesn't support keeps its default.
  static_cast<void>(curl_easy_setopt(handle, option, value));
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
  sockets_.serve(curl);

  set(curl, CURLOPT_NOSIGNAL, 1L);
  set(curl, CURLOPT_PATH_AS_IS, 1L);
  set(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  // Every server that compresses supports gzip; further codings would only make requests longer.
  set(curl, CURLOPT_ACCEPT_ENCODING, "gzip");
  // Bodies are decompressed here: libcurl fails a request with a coding that it doesn't know.
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
  // A cancelled task doesn't wait for a host name lookup that the system hasn't finished.
  set(curl, CURLOPT_QUICK_EXIT, 1L);
#endif
  // The system's directory of certificates is still used.
  if (const auto& file = settings_.configuration.additionalCertificates; !file.empty()) {
    set(curl, CURLOPT_CAINFO, file.c_str());
  }
}

// With an empty user and no method, nothing is sent. Without any user, libcurl would handle the next
// challenge on this handle as a repetition of the first: it would send a refused credential twice and ignore
// a changed nonce.
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

// Each request has a handle of its own, until the handle contains a credential or the state of a challenge.
// On a used handle, libcurl counts its repetitions of all requests together, and up to 8.0 reads freed memory
// if the first field of a head is folded.
void Transfer::renewHandle() {
  handle_.reset(curl_easy_init());
  if (!handle_) throw std::bad_alloc();
  urlSet_.clear();
  proxySet_ = {};
  connectTimeoutSet_ = 0;
  customMethodSet_ = progressSet_ = headersSet_ = waitsForMultiplexing_ = false;
  cookiesSet_.reset();
  setConstantOptions();
}

void Transfer::prepare(Connection connection) {
  if (!handle_ || (std::exchange(used_, true) && !keepsHandle_)) renewHandle();
  connection_ = connection;
  set(handle(), CURLOPT_FRESH_CONNECT, connection == Connection::fresh ? 1L : 0L);
  isConnectionStale_ = false;
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
  // User and password are used for a challenge only, and must not be in error texts.
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
  // Only with TLS can a connection carry several requests at once; otherwise waiting for it costs time.
  if (secure != waitsForMultiplexing_) {
    set(handle(), CURLOPT_PIPEWAIT, secure ? 1L : 0L);
    waitsForMultiplexing_ = secure;
  }
}

// Sets the parsed URL: with the text, libcurl would parse and rebuild it for each request.
void Transfer::setURL(const std::string& text) {
  if (urlSet_ == text) return;
  urlSet_ = text;
  const bool isRead =
      url_ && curl_url_set(url_.get(), CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS) == CURLUE_OK;
  set(handle(), CURLOPT_CURLU, isRead ? url_.get() : nullptr);
  // For a URL that can't be parsed, libcurl creates the error.
  if (!isRead) set(handle(), CURLOPT_URL, text.c_str());
}

void Transfer::setMethodAndBody() {
  const auto& method = request_->httpMethod;
  const auto size = request_->httpBody ? request_->httpBody->size() : 0;
  // For these methods, servers expect "Content-Length: 0" if there is no body.
  const bool announcesBody = size > 0 || method == "POST" || method == "PUT" || method == "PATCH";
  std::string_view standard;
  if (announcesBody) {
    standard = "POST";
    set(handle(), CURLOPT_POST, 1L);
    set(handle(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(size));
    // Not copied: the task holds the body as long as the transfer runs.
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

  // libcurl would send the session's cookies in a second field.
  const bool usesCookies = !request_->headers.value("Cookie");
  if (usesCookies != cookiesSet_) {
    // A null file name removes the session's cookies from the handle; setting the share again restores them.
    // The share is never removed from the handle: the handle would create its own TLS session cache, which
    // libcurl would leak when the share is set again.
    if (usesCookies || !cookiesSet_) set(handle(), CURLOPT_SHARE, share_);
    // The empty file name enables cookies.
    set(handle(), CURLOPT_COOKIEFILE, usesCookies ? "" : nullptr);
  }
  cookiesSet_ = usesCookies;
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

// Sets the latest end of the task, redirects and challenges included.
void Transfer::setEnd() {
  static constexpr double longest = 1e9;
  const double seconds = settings_.configuration.maximumRequestTime;
  end_ = seconds > 0 && seconds < longest
             ? lastActivity_ +
                   std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))
             : Clock::time_point::max();
}

// Also sets libcurl's timeout for connecting, which it divides between the addresses of a host.
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
