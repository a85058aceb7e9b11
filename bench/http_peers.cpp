#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <curl/curl.h>
#include <httplib.h>

#include "http_clients.h"

namespace http_bench {
namespace {

struct Transfer {
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy{curl_easy_init(), &curl_easy_cleanup};
  std::string received;
};

std::size_t receive(char* bytes, std::size_t /*one*/, std::size_t size, void* transfer) {
  static_cast<Transfer*>(transfer)->received.append(bytes, size);
  return size;
}

class BareCurl final : public Client {
 public:
  explicit BareCurl(Work work) : work_(std::move(work)) {}
  ~BareCurl() override {
    transfers_.clear();
    curl_multi_cleanup(multi_);
  }

  void send(std::size_t count, std::size_t inFlight) override {
    while (transfers_.size() < inFlight) transfers_.push_back(makeTransfer());
    std::size_t left = count;
    for (std::size_t index = 0; index < inFlight && left > 0; ++index, --left) start(*transfers_[index]);
    for (std::size_t received = 0; received < count;) {
      int running = 0;
      curl_multi_perform(multi_, &running);
      int ignored = 0;
      while (const auto* message = curl_multi_info_read(multi_, &ignored)) {
        auto& transfer = finish(*message);
        ++received;
        if (left == 0) continue;
        --left;
        start(transfer);
      }
      if (received < count) curl_multi_poll(multi_, nullptr, 0, 1000, nullptr);
    }
  }

 private:
  std::unique_ptr<Transfer> makeTransfer() {
    auto transfer = std::make_unique<Transfer>();
    auto* const easy = transfer->easy.get();
    curl_easy_setopt(easy, CURLOPT_URL, work_.url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);  // as every program with threads needs it
    curl_easy_setopt(easy, CURLOPT_PRIVATE, transfer.get());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &receive);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, transfer.get());
    if (!work_.upload.empty()) {
      curl_easy_setopt(easy, CURLOPT_POSTFIELDS, work_.upload.data());
      curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(work_.upload.size()));
    }
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, work_.method.c_str());
    return transfer;
  }

  void start(Transfer& transfer) { curl_multi_add_handle(multi_, transfer.easy.get()); }

  Transfer& finish(const CURLMsg& message) {
    auto* const easy = message.easy_handle;
    Transfer* transfer = nullptr;
    long status = 0;
    curl_off_t sent = 0;
    curl_easy_getinfo(easy, CURLINFO_PRIVATE, &transfer);
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(easy, CURLINFO_SIZE_UPLOAD_T, &sent);
    const bool whole =
        message.data.result == CURLE_OK && sent == static_cast<curl_off_t>(work_.upload.size());
    const auto received = std::exchange(transfer->received, {});
    check_("libcurl", whole ? status : 0, received.data(), received.size());
    curl_multi_remove_handle(multi_, easy);
    return *transfer;
  }

  const Work work_;
  ResponseCheck check_{work_};
  CURLM* const multi_ = curl_multi_init();
  std::vector<std::unique_ptr<Transfer>> transfers_;
};

class CppHTTPLib final : public Client {
 public:
  explicit CppHTTPLib(Work work)
      : work_(std::move(work)), pathStart_(work_.url.find('/', std::string("http://").size())) {}

  void send(std::size_t count, std::size_t inFlight) override {
    while (senders_.size() < inFlight) senders_.push_back(std::make_unique<Sender>(*this));
    std::atomic<std::size_t> taken = 0;
    const auto run = [&](Sender& sender) {
      while (taken++ < count) sender.send(*this);
    };
    if (inFlight == 1) return run(*senders_.front());
    std::vector<std::thread> threads;
    for (std::size_t index = 0; index < inFlight; ++index)
      threads.emplace_back(run, std::ref(*senders_[index]));
    for (auto& thread : threads) thread.join();
  }

 private:
  struct Sender {
    explicit Sender(const CppHTTPLib& owner)
        : check(owner.work_), client(owner.work_.url.substr(0, owner.pathStart_)) {
      client.set_keep_alive(true);
      client.set_tcp_nodelay(true);
    }
    void send(const CppHTTPLib& owner) {
      const auto path = owner.work_.url.substr(owner.pathStart_);
      const auto result = owner.work_.upload.empty()
                              ? client.Get(path)
                              : client.Put(path, owner.work_.upload, "application/octet-stream");
      check("cpp-httplib", result ? result->status : 0, result ? result->body.data() : nullptr,
            result ? result->body.size() : 0);
    }
    ResponseCheck check;
    httplib::Client client;
  };

  const Work work_;
  const std::size_t pathStart_;
  std::vector<std::unique_ptr<Sender>> senders_;
};

}  // namespace

std::unique_ptr<Client> bareCurl(const Work& work) { return std::make_unique<BareCurl>(work); }
std::unique_ptr<Client> cppHTTPLib(const Work& work) { return std::make_unique<CppHTTPLib>(work); }

}  // namespace http_bench
