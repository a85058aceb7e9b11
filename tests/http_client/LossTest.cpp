// Connections that end or fall silent at any byte: each request ends once, is whole or failed, and a payment
// is never sent twice.
#include <atomic>

#include <tilvanego/http_client/FileSink.h>
#include <tilvanego/http_client/FileSource.h>
#include <tilvanego/http_client/RetryPolicy.h>
#include <tilvanego/network/URLSession.h>

#include "tests/http_client/TestClient.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/LossyRelay.h"
#include "tests/support/TemporaryDirectory.h"

namespace tilvanego::test {
namespace {

using namespace std::chrono_literals;

// Sends a file and receives one, over a connection of its own.
struct LossyClient : TestClient {
  LossyClient() : TestClient({}) {
    useSession(std::make_shared<URLSession>(LoopbackServer::reaching()));
    std::ofstream(directory.path() / "sent") << body;
  }

  // Whether the request went well. The session's thread sends it unless it blocks.
  bool exchange(const std::string& method, bool retries, bool blocks) {
    std::filesystem::remove(received);
    configuration->setInterceptor(retries ? std::make_shared<RetryPolicy>(RetryOptions{.firstPause = 1ms})
                                          : std::make_shared<DefaultOpenAPIInterceptor>());
    const auto builder = this->builder<Empty>({.method = method, .URLString = url});
    builder->setLimits({.silence = silence});
    builder->setBodySource(
        FileSource::open(*URL::parse("file://" + (directory.path() / "sent").string())).value());
    builder->setBodySink(std::make_shared<FileSink>(received));
    const auto wentWell = [&](const auto& result) {
      ++ends;
      const auto* error = result ? nullptr : result.error().underlyingFailure().template as<TransportError>();
      EXPECT_TRUE(result || (error && error->code != TransportError::Code::unknown)) << result.error().what();
      return result.has_value();
    };
    bool isWell = false;
    if (blocks) {
      isWell = wentWell(builder.send());
    } else {
      builder.execute([&](const auto& result) {
        queue.post([&, well = wentWell(result)] {
          isWell = well;
          queue.stop();
        });
      });
      queue.run();
    }
    EXPECT_EQ(contentOf(received), isWell ? body : "");
    return isWell;
  }

  const std::string body = std::string(30'000, 'x') + "end";
  const LoopbackServer server{[this](const ReceivedRequest& request) {
    EXPECT_EQ(request.body, body);
    return response(200, body);
  }};
  LossyRelay relay{static_cast<std::uint16_t>(*URL::parse(server.url())->port())};
  const std::string url = [this] {
    auto text = server.url();
    const auto port = std::to_string(*URL::parse(text)->port());
    return text.replace(text.find(port), port.size(), std::to_string(relay.port()));
  }();
  const TemporaryDirectory directory;
  const std::filesystem::path received = directory.path() / "received";
  std::chrono::milliseconds silence = 60s;
  std::atomic<int> ends = 0;
};

TEST(Loss, OfAConnectionAtAnyByteEndsARequestOnceAndARetryMakesItWhole) {
  // The bytes of either side, TLS included.
  const auto sizes = [] {
    LossyClient client;
    EXPECT_TRUE(client.exchange("PUT", false, true));
    return std::array{client.relay.passed(Loss::client), client.relay.passed(Loss::server)};
  }();
  bool blocks = false;
  for (const auto side : {Loss::client, Loss::server}) {
    const auto all = sizes[side];
    for (const std::size_t after : {std::size_t{0}, std::size_t{20}, all / 20, all / 2, all * 9 / 10}) {
      for (const auto kind : {Loss::Kind::close, Loss::Kind::reset, Loss::Kind::stall}) {
        blocks = !blocks;
        SCOPED_TRACE("side " + std::to_string(side) + " after " + std::to_string(after) + " of " +
                     std::to_string(all) + " kind " + std::to_string(static_cast<int>(kind)) +
                     (blocks ? " blocks" : ""));
        LossyClient client;
        if (kind == Loss::Kind::stall) client.silence = 400ms;
        client.relay.loseNext({kind, side, after});
        EXPECT_FALSE(client.exchange("POST", false, blocks));
        EXPECT_LE(client.server.requests().size(), 1U);
        client.relay.loseNext({kind, side, after});
        EXPECT_TRUE(client.exchange("PUT", true, blocks));
        EXPECT_EQ(client.ends, 2);
      }
    }
  }
}

}  // namespace
}  // namespace tilvanego::test
