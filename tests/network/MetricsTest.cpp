// What an observer is told of tasks, in both ways of sending.
#include "tests/network/SessionTest.h"
#include "tests/support/NginxServer.h"

using namespace tilvanego;
using namespace tilvanego::test;

namespace {

struct Recorder : TransferObserver {
  struct Told {
    bool hasSpan;
    TransferMetrics metrics;
    std::vector<std::pair<std::string, std::string>> attributes;
  };
  std::shared_ptr<void> willStart(const URLRequest& request) override {
    return std::make_shared<std::string>(request.httpMethod);
  }
  void didEnd(const std::shared_ptr<void>& span, const TransferReport& report) override {
    const std::lock_guard held(mutex);
    const auto* method = static_cast<const std::string*>(span.get());
    told.push_back({method && *method == report.request.httpMethod, report.metrics, report.attributes()});
    throw 1;  // is dropped
  }
  Told last() {
    const std::lock_guard held(mutex);
    return told.back();
  }
  std::mutex mutex;
  std::vector<Told> told;
};

class Metrics : public SessionTest {
 protected:
  Metrics() { useSession({.observer = recorder}); }
  const std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
};

}  // namespace

TEST_F(Metrics, CountTriesRedirectsBytesAndKeptConnections) {
  testing::internal::CaptureStderr();
  const LoopbackServer server([](const ReceivedRequest& request) {
    return request.path() == "/on" ? redirect("/") : response(200, std::string(3000, 'x'));
  });
  const auto first = send(get(server.url("/on")));
  const auto told = recorder->last();
  EXPECT_TRUE(told.hasSpan);
  EXPECT_EQ(told.metrics.tries, 2);
  EXPECT_EQ(told.metrics.redirects, 1);
  EXPECT_TRUE(told.metrics.isConnectionReused);
  EXPECT_GT(told.metrics.receivedBytes, 3000);
  EXPECT_LT(told.metrics.receivedBytes, 3400);
  const auto url = URL::parse(server.url()).value();
  const bool isOverHTTP2 = url.scheme() == "https";
  EXPECT_EQ(told.attributes, (std::vector<std::pair<std::string, std::string>>{
                                 {"http.request.method", "GET"},
                                 {"url.scheme", std::string(*url.scheme())},
                                 {"server.address", "127.0.0.1"},
                                 {"server.port", std::to_string(url.port().value())},
                                 {"http.response.status_code", "200"},
                                 {"network.protocol.version", isOverHTTP2 ? "2" : "1.1"},
                                 {"http.request.resend_count", "1"}}));
  ASSERT_NE(first.http()->metrics(), nullptr);
  EXPECT_EQ(first.http()->metrics()->tries, 2);
  // A body is counted once, whatever its length.
  const auto sentFor = [&](std::size_t size, bool expects = false) {
    auto request = post(server.url(), std::string(size, 'u'));
    if (expects) request.headers.setValue("Expect", "100-continue");
    send(request);
    return recorder->last().metrics.sentBytes;
  };
  const auto little = sentFor(1000);
  EXPECT_EQ(sentFor(9000) - little, 8000);
  EXPECT_EQ(sentFor(9000, true) - sentFor(1000, true), 8000);
  EXPECT_EQ(sentFor(200'000) - little, 199'002) << "with two more digits of the length";
  testing::internal::GetCapturedStderr();
}

TEST_F(Metrics, TellOfEachPhaseAndOfFailures) {
  testing::internal::CaptureStderr();
  const NginxServer nginx;
  useSession({.additionalCertificates = nginx.certificate(), .observer = recorder});
  EXPECT_EQ(send(get(nginx.secureURL("/hello"))).text(), "hello\n");
  const auto& metrics = recorder->last().metrics;
  EXPECT_FALSE(metrics.isConnectionReused);
  EXPECT_EQ(metrics.protocolVersion, "2");
  EXPECT_GT(metrics.secureConnect.count(), 0);
  EXPECT_GE(metrics.firstByte, metrics.nameLookup + metrics.connect + metrics.secureConnect);
  EXPECT_GE(metrics.total, metrics.firstByte);

  send(get("http://127.0.0.1:1/"));
  const auto failed = recorder->last();
  EXPECT_EQ(failed.attributes.back(),
            (std::pair<std::string, std::string>("error.type", "cannotConnectToHost")));
  EXPECT_EQ(failed.metrics.firstByte.count(), 0);

  // Each that started ends once, also by a cancel; what never starts isn't told of.
  const auto before = recorder->told.size();
  const LoopbackServer silent([](const ReceivedRequest&) { return silence; });
  auto& held = start(get(silent.url()));
  silent.waitFor(&Counts::silences, 1);
  held.task().cancel();
  EXPECT_TRUE(held.outcome().error);
  send(get("ftp://127.0.0.1/"));
  EXPECT_EQ(recorder->told.size(), before + 1);
  testing::internal::GetCapturedStderr();
}
