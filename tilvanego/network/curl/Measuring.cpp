#include <tilvanego/network/curl/Measuring.h>

#include <algorithm>

#include <tilvanego/network/curl/CurlVersion.h>
#include <tilvanego/network/curl/Transfer.h>
#include <tilvanego/platform/HostCode.h>

namespace tilvanego::detail {
namespace {

using Duration = TransferMetrics::Duration;

/// From this version on, libcurl counts a body as a part of the request.
constexpr unsigned countsBody = 0x080700;

curl_off_t number(CURL* handle, CURLINFO which) {
  curl_off_t value = 0;
  curl_easy_getinfo(handle, which, &value);
  return std::max<curl_off_t>(value, 0);
}

long smallNumber(CURL* handle, CURLINFO which) {
  long value = 0;
  curl_easy_getinfo(handle, which, &value);
  return value;
}

const char* versionOf(CURL* handle) {
  switch (smallNumber(handle, CURLINFO_HTTP_VERSION)) {
    case CURL_HTTP_VERSION_1_0:
      return "1.0";
    case CURL_HTTP_VERSION_1_1:
      return "1.1";
    case CURL_HTTP_VERSION_2_0:
      return "2";
    default:
      return "";
  }
}

}  // namespace

Measuring::Measuring(TransferObserver& observer, ExitGate& gate, const URLRequest& request)
    : observer_(observer), gate_(gate) {
  gate_.runHostCode(
      [&] { runListener("TransferObserver::willStart", [&] { span_ = observer_.willStart(request); }); });
}

// libcurl's times count from the start of this request, each to the end of a phase; a phase that didn't come
// has 0.
void Measuring::add(CURL* handle, bool isBodySentWithHead) {
  const auto elapsed = std::chrono::duration_cast<Duration>(Clock::now() - start_);
  const auto lookup = number(handle, CURLINFO_NAMELOOKUP_TIME_T);
  const auto connect = number(handle, CURLINFO_CONNECT_TIME_T);
  const auto secure = number(handle, CURLINFO_APPCONNECT_TIME_T);
  const auto sent = number(handle, CURLINFO_PRETRANSFER_TIME_T);
  const auto firstByte = number(handle, CURLINFO_STARTTRANSFER_TIME_T);
  metrics_->isConnectionReused = sent > 0 && smallNumber(handle, CURLINFO_NUM_CONNECTS) == 0;
  if (metrics_->isConnectionReused) {
    metrics_->waiting += Duration(sent);
  } else {
    metrics_->nameLookup += Duration(lookup);
    metrics_->connect += Duration(std::max<curl_off_t>(connect - lookup, 0));
    metrics_->secureConnect += Duration(std::max<curl_off_t>(secure - connect, 0));
  }
  if (firstByte > 0) {
    const auto afterFirstByte = Duration(number(handle, CURLINFO_TOTAL_TIME_T) - firstByte);
    metrics_->firstByte = std::max(elapsed - afterFirstByte, Duration::zero());
    metrics_->protocolVersion = versionOf(handle);
  }
  metrics_->sentBytes += smallNumber(handle, CURLINFO_REQUEST_SIZE);
  // Before, a body sent with the head was a part of it, but over HTTP/2 it has frames of its own.
  const bool isCounted =
      curlVersion() >= countsBody ||
      (isBodySentWithHead && smallNumber(handle, CURLINFO_HTTP_VERSION) != CURL_HTTP_VERSION_2_0);
  if (!isCounted) metrics_->sentBytes += number(handle, CURLINFO_SIZE_UPLOAD_T);
  metrics_->receivedBytes +=
      smallNumber(handle, CURLINFO_HEADER_SIZE) + number(handle, CURLINFO_SIZE_DOWNLOAD_T);
}

void Measuring::end(const URLRequest& request, const Outcome& outcome, int redirects) {
  metrics_->total = std::chrono::duration_cast<Duration>(Clock::now() - start_);
  metrics_->redirects = redirects;
  gate_.runHostCode([&] {
    runListener("TransferObserver::didEnd",
                [&] { observer_.didEnd(span_, {request, outcome.response, outcome.error, *metrics_}); });
    span_.reset();
  });
}

}  // namespace tilvanego::detail
