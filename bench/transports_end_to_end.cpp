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
#include <tilvanego/platform/desktop/FilePendingStore.h>
#include <tilvanego/platform/memory/MemoryPasteboard.h>
#include <tilvanego/platform/memory/MemoryPendingStore.h>
#include <tilvanego/platform/memory/SilentDebugOutput.h>

#include "tests/support/TemporaryDirectory.h"
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
  explicit Host(std::unique_ptr<PendingStore> store = nullptr) {
    Platform platform = Platform::standard(loop);
    platform.debugOutput = std::make_unique<SilentDebugOutput>();
    platform.pasteboard = std::make_unique<MemoryPasteboard>(platform.clock);
    platform.application = std::make_unique<LastLink>(link);
    platform.pendingStore = std::move(store);
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

/// A payment from its start to the return of its completion, by an inline link.
void payOnce(benchmark::State& state, std::unique_ptr<PendingStore> store) {
  const PaymentRequest request = paymentRequest(notes(100));
  Host host(std::move(store));
  const URL callback = *URL::parse(request.callbackURL().absoluteString() +
                                   "?status=approved&request_id=" + request.requestId());
  for (auto _ : state) {
    host.start(request);
    require(host.sdk->handleCallback(callback), "the callback ends it");
  }
}

/// The start alone; the cancel that makes room for the next one isn't measured.
void startWithFiles(benchmark::State& state) {
  const PaymentRequest request = paymentRequest(notes(100));
  TemporaryDirectory directory;
  Host host(std::make_unique<FilePendingStore>(directory.path() / "kept"));
  for (auto _ : state) {
    host.start(request);
    state.PauseTiming();
    host.sdk->cancelPendingPayment();
    state.ResumeTiming();
  }
}

/// What a start's write costs by itself: the same bytes, synced and renamed.
void keepSynced(benchmark::State& state) {
  TemporaryDirectory directory;
  FilePendingStore store(directory.path() / "kept");
  const std::string text(300, 'x');
  for (auto _ : state) require(store.keep("payment", text).has_value(), "the text is kept");
}

void payWithFiles(benchmark::State& state) {
  TemporaryDirectory directory;
  payOnce(state, std::make_unique<FilePendingStore>(directory.path() / "kept"));
}

void payWithMemory(benchmark::State& state) { payOnce(state, std::make_unique<MemoryPendingStore>()); }
void payWithoutStore(benchmark::State& state) { payOnce(state, nullptr); }

BENCHMARK(payWithoutStore);
BENCHMARK(payWithMemory);
BENCHMARK(payWithFiles);
BENCHMARK(startWithFiles);
BENCHMARK(keepSynced);

}  // namespace
}  // namespace tilvanego::bench
