#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/network/URLRequest.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/network/URLSession.h>
#include <tilvanego/values/URL.h>

#include "http_clients.h"

namespace http_bench {
namespace {

using namespace tilvanego;

URLRequest requestOf(const Work& work) {
  URLRequest request;
  request.url = URL::parse(work.url).value();
  request.httpMethod = work.method;
  request.maximumBodySize = work.download.size();
  if (!work.upload.empty()) request.httpBody = Data(work.upload);
  return request;
}

class Library : public Client {
 public:
  explicit Library(Work work) : work_(std::move(work)), request_(requestOf(work_)) {}

  void send(std::size_t count, std::size_t inFlight) override {
    {
      const std::scoped_lock lock(mutex_);
      toStart_ = count;
      openRequests_ = count;
    }
    for (std::size_t index = 0; index < inFlight; ++index) startNext();
    wait();
  }

 protected:
  void startNext() {
    {
      const std::scoped_lock lock(mutex_);
      if (toStart_ == 0) return;
      --toStart_;
    }
    session_
        .dataTaskFromProtocol(request_,
                              [this](const auto& data, const auto& response, const auto& error) {
                                check(data, response, error);
                                responseCame();
                              })
        ->resume();
  }

  virtual void responseCame() {
    startNext();
    countResponse();
  }

  void countResponse() {
    const std::scoped_lock lock(mutex_);
    if (--openRequests_ == 0) noneOpen_.notify_one();
  }

  void wait() {
    std::unique_lock lock(mutex_);
    noneOpen_.wait(lock, [&] { return openRequests_ == 0; });
  }

  std::mutex mutex_;
  std::condition_variable noneOpen_;
  std::size_t toStart_ = 0;
  std::size_t openRequests_ = 0;

 private:
  void check(const std::optional<Data>& data, const URLResponsePointer& response,
             const std::optional<Failure>& error) {
    const auto* http = dynamic_cast<const HTTPURLResponse*>(response.get());
    const auto body = data ? data->text() : std::string_view();
    check_("library", http != nullptr && !error ? http->statusCode() : 0, body.data(), body.size());
  }

  const Work work_;
  const URLRequest request_;
  ResponseCheck check_{work_};
  URLSession session_;
};

class WaitingLibrary final : public Library {
 public:
  using Library::Library;

  void send(std::size_t count, std::size_t /*inFlight*/) override {
    for (; count > 0; --count) Library::send(1, 1);
  }

 private:
  void responseCame() override { countResponse(); }
};

}  // namespace

std::unique_ptr<Client> library(const Work& work) { return std::make_unique<Library>(work); }
std::unique_ptr<Client> waitingLibrary(const Work& work) { return std::make_unique<WaitingLibrary>(work); }

}  // namespace http_bench
