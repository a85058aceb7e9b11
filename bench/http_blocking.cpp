// One request after the other on the calling thread: this library's blocking call and libcurl's.
#include <memory>
#include <string>
#include <utility>

#include <curl/curl.h>

#include <tilvanego/http_client/RequestBuilderWithSession.h>
#include <tilvanego/http_client/coding/CodableHelper.h>
#include <tilvanego/network/URLSession.h>
#include <tilvanego/platform/RunLoop.h>

#include "http_clients.h"

namespace http_bench {
namespace {

using namespace tilvanego;

class BlockingLibrary final : public Client {
 public:
  BlockingLibrary(Work work, CookieStorage cookies)
      : work_(std::move(work)), cookies_(cookies), builder_(builderOf()) {}

  void send(std::size_t count, std::size_t /*inFlight*/) override {
    for (; count > 0; --count) {
      const auto result = builder_.send();
      const auto body = result && result->bodyData ? result->bodyData->text() : std::string_view();
      check_("library", result ? result->statusCode : result.error().code(), body.data(), body.size());
    }
  }

 private:
  RequestBuilderOf<Data> builderOf() {
    RequestBuilderArguments arguments{
        .method = work_.method, .URLString = work_.url, .apiConfiguration = configuration_};
    if (!work_.upload.empty()) {
      arguments.headers["Content-Type"] = "application/octet-stream";
      arguments.parameters = Parameters{{"body", Data(work_.upload)}};
    }
    return makeRequestBuilder<Data>(std::move(arguments));
  }

  const Work work_;
  const CookieStorage cookies_;
  ResponseCheck check_{work_};
  RunLoop queue_;
  const std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration> configuration_ =
      std::make_shared<OstrelTilvanePoiModelsAPIConfiguration>(
          "", OstrelTilvanePoiModelsAPIConfiguration::Headers(), std::nullopt,
          std::make_shared<RequestBuilderFactoryWithSession<>>(std::make_shared<URLSession>(
              URLSessionConfiguration{.proxy = "", .maximumBodySize = 0, .cookies = cookies_})),
          queue_, std::make_shared<CodableHelper>(), StatusCodeRange(),
          std::make_shared<DefaultOpenAPIInterceptor>());
  const RequestBuilderOf<Data> builder_;
};

class EasyCurl final : public Client {
 public:
  EasyCurl(Work work, bool keepsAll) : work_(std::move(work)) {
    auto* const easy = easy_.get();
    curl_easy_setopt(easy, CURLOPT_URL, work_.url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &receive);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    if (!work_.upload.empty()) {
      curl_easy_setopt(easy, CURLOPT_POSTFIELDS, work_.upload.data());
      curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(work_.upload.size()));
    }
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, work_.method.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, fields_.get());
    if (keepsAll) {
      curl_easy_setopt(easy, CURLOPT_COOKIEFILE, "");
      curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &receiveHead);
      curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    }
  }

  void send(std::size_t count, std::size_t /*inFlight*/) override {
    for (; count > 0; --count) {
      long status = 0;
      if (curl_easy_perform(easy_.get()) == CURLE_OK) {
        curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
      }
      const auto head = std::exchange(head_, {});
      const auto body = std::exchange(received_, {});
      check_("libcurl", status, body.data(), body.size());
    }
  }

 private:
  static std::size_t receive(char* bytes, std::size_t /*one*/, std::size_t size, void* self) {
    static_cast<EasyCurl*>(self)->received_.append(bytes, size);
    return size;
  }

  static std::size_t receiveHead(char* bytes, std::size_t /*one*/, std::size_t size, void* self) {
    static_cast<EasyCurl*>(self)->head_.append(bytes, size);
    return size;
  }

  /// Those that the library sends, so that both send the same bytes.
  static curl_slist* fieldsOf(const Work& work) {
    auto* const fields = curl_slist_append(nullptr, "Accept-Encoding: gzip");
    return work.upload.empty() ? fields : curl_slist_append(fields, "Content-Type: application/octet-stream");
  }

  const Work work_;
  ResponseCheck check_{work_};
  const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> fields_{fieldsOf(work_),
                                                                            &curl_slist_free_all};
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy_{curl_easy_init(), &curl_easy_cleanup};
  std::string received_;
  std::string head_;
};

}  // namespace

std::unique_ptr<Client> blockingLibrary(const Work& work) {
  return std::make_unique<BlockingLibrary>(work, CookieStorage::inMemory);
}
std::unique_ptr<Client> cookielessLibrary(const Work& work) {
  return std::make_unique<BlockingLibrary>(work, CookieStorage::off);
}
std::unique_ptr<Client> easyCurl(const Work& work) { return std::make_unique<EasyCurl>(work, false); }
std::unique_ptr<Client> keepingCurl(const Work& work) { return std::make_unique<EasyCurl>(work, true); }

}  // namespace http_bench
