// cpr, one request after the other on one session, where the distribution has it.
#include <utility>

#include "http_clients.h"

#if __has_include(<cpr/cpr.h>)
#include <cpr/cpr.h>

namespace http_bench {
namespace {

class CPR final : public Client {
 public:
  explicit CPR(Work work) : work_(std::move(work)) {
    session_.SetUrl(cpr::Url{work_.url});
    if (!work_.upload.empty()) session_.SetBody(cpr::Body{work_.upload});
  }

  void send(std::size_t count, std::size_t /*inFlight*/) override {
    for (; count > 0; --count) {
      const auto response = work_.upload.empty() ? session_.Get() : session_.Put();
      check_("cpr", response.status_code, response.text.data(), response.text.size());
    }
  }

 private:
  const Work work_;
  ResponseCheck check_{work_};
  cpr::Session session_;
};

}  // namespace

std::unique_ptr<Client> waitingCPR(const Work& work) { return std::make_unique<CPR>(work); }

}  // namespace http_bench
#else
namespace http_bench {

std::unique_ptr<Client> waitingCPR(const Work& /*work*/) { return nullptr; }

}  // namespace http_bench
#endif
