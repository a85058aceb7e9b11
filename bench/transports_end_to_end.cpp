// A payment from its record to the opened link, by each form that `automatic` chooses.

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <benchmark/benchmark.h>

#include <tilvanego/facade/FacadeAccess.h>
#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>
#include <tilvanego/platform/memory/SilentDebugOutput.h>

#include "transports_samples.h"

namespace tilvanego::bench {
namespace {

/// Keeps the last link alone, and never says what became of it.
class LastLink final : public Application {
 public:
  explicit LastLink(std::string& link) : link_(link) {}
  void openURL(const URL& url, std::function<void(bool)>) override { link_ = url.absoluteString(); }

 private:
  std::string& link_;
};

struct Host {
  Host() {
    Platform platform = Platform::standard(loop);
    platform.debugOutput = std::make_unique<SilentDebugOutput>();
    platform.pasteboard = std::make_unique<MemoryPasteboard>(platform.clock);
    platform.application = std::make_unique<LastLink>(link);
    sdk = detail::FacadeAccess::make(std::move(platform));
  }

  void start(const PaymentRequest& request) {
    sdk->startPayment(request, PaymentLaunchTransport::automatic(2'000), [](const PaymentResult&) {});
  }

  RunLoop loop;
  std::string link;
  detail::FacadeAccess::Owned sdk;
};

/// `form` is in the links of the form that is to be chosen, and in no other's.
void startPayment(benchmark::State& state, const std::string& text, std::string_view form) {
  const PaymentRequest request = paymentRequest(text);
  Host host;
  host.start(request);
  require(host.link.find(form) != std::string::npos, "automatic chose another form");
  host.sdk->cancelPendingPayment();
  for (auto _ : state) {
    host.start(request);
    host.sdk->cancelPendingPayment();
  }
  state.counters["link"] = static_cast<double>(host.link.size());
}
BENCHMARK_CAPTURE(startPayment, inlineOf100Bytes, notes(100), "notes=");
BENCHMARK_CAPTURE(startPayment, compressedOf2KB, notes(2'048), "transport=gzip");
BENCHMARK_CAPTURE(startPayment, compressedOf20KB, notes(20'480), "transport=gzip");
// Compressed first, since only then it is known to be too long.
BENCHMARK_CAPTURE(startPayment, pasteboardOf100KB, randomText(102'400), "transport=pasteboard");
// Too long to be compressed at all.
BENCHMARK_CAPTURE(startPayment, pasteboardOf300KB, notes(307'200), "transport=pasteboard");

}  // namespace
}  // namespace tilvanego::bench
