// Many requests from many threads, through faults, retries and cancels: each is answered once, with its own
// answer.
#include <atomic>
#include <deque>
#include <random>
#include <semaphore>

#include "tests/http_client/TestClient.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/Threads.h"

using namespace tilvanego;
using namespace tilvanego::test;

namespace {

constexpr int threadCount = 8;
constexpr int requestsOfThread = 1250;
constexpr int windowSize = 24;
constexpr int requestCount = threadCount * requestsOfThread;

// The same for the same arguments in every run, and otherwise of no pattern.
std::uint32_t scatter(std::uint32_t number, std::uint32_t salt) {
  std::uint32_t mixed = number * 2654435761U + salt * 40503U;
  mixed ^= mixed >> 16U;
  mixed *= 0x45d9f3bU;
  return mixed ^ (mixed >> 16U);
}

// "/echo/N" fails in a way that N and the number of the try decide, or echoes; "/silent/N" never answers.
class FaultyEcho {
 public:
  ServerResponse operator()(const ReceivedRequest& request) {
    const auto path = request.path();
    if (path.starts_with("/silent")) return silence;
    const auto number = static_cast<std::uint32_t>(std::stoi(path.substr(path.rfind('/') + 1)));
    const std::string body = path + "|" + request.body;
    const std::string chunk = headOf(200, {{"Transfer-Encoding", "chunked"}}) + "5\r\nhello\r\n20\r\nsho";
    const std::vector<ServerResponse> ways{{"", End::reset},
                                           {halfHead, End::reset},
                                           {halfBody, End::reset},
                                           {"", End::close},
                                           {halfBody, End::close},
                                           {chunk, End::close},
                                           brokenChunkSize,
                                           notHTTP,
                                           response(503, "busy"),
                                           response(200, body).then(End::close),
                                           chunkedResponse(200, body, 7),
                                           redirect(path),
                                           response(401, "no challenge")};
    const std::size_t way = scatter(number, ++tries_[number]) % 24;
    return way < ways.size() ? ways[way] : response(200, body);
  }

 private:
  std::map<std::uint32_t, std::uint32_t> tries_;
};

// Lets about half of the failures be tried again; never what was cancelled.
struct StressInterceptor final : DefaultOpenAPIInterceptor {
  void retry(const URLRequest& /*request*/, const Session& /*session*/, const Builder& /*builder*/,
             const std::optional<Data>& /*data*/, const URLResponsePointer& /*response*/,
             const Failure& error, RetryCompletion completion) override {
    const auto* transport = error.as<TransportError>();
    const bool cancelled = transport != nullptr && transport->code == TransportError::Code::cancelled;
    if (cancelled || scatter(decisions++, 1) % 2 == 0) return completion(OpenAPIInterceptorRetry::dontRetry);
    ++retries;
    completion(OpenAPIInterceptorRetry::retry);
  }
  std::atomic<int> retries = 0;
  std::atomic<std::uint32_t> decisions = 0;
};

class Stress {
 public:
  Stress() {
    client_.useSession(session_);
    client_.configuration->setInterceptor(interceptor_);
    client_.configuration->setCredential(URLCredential{"till", "s3cret"});
  }

  void run() {
    inThreads(threadCount, [this](int thread) { sendMany(thread); }, [this] { client_.queue.run(); });
    client_.configuration.reset();
    session_.reset();
    client_.queue.runPending();
  }

  void check() {
    EXPECT_TRUE(std::ranges::all_of(completions_, [](const auto& count) { return count == 1; }));
    EXPECT_EQ(succeeded_ + failed_ + cancelled_, requestCount);
    EXPECT_EQ(strange_, 0);
    // Whatever the order, a good part goes each way.
    EXPECT_GT(succeeded_, requestCount / 4);
    EXPECT_GT(failed_, requestCount / 50);
    EXPECT_GT(cancelled_, requestCount / 50);
    EXPECT_GT(interceptor_->retries, requestCount / 50);
  }

 private:
  void sendMany(int thread) {
    std::mt19937 random(static_cast<unsigned>(thread));
    std::deque<std::shared_ptr<RequestTask>> toCancel;
    // How many more requests may be in flight.
    const auto window = std::make_shared<std::counting_semaphore<>>(windowSize);
    for (int index = 0; index < requestsOfThread; ++index) {
      const int number = thread * requestsOfThread + index;
      const bool silent = random() % 16 == 0;
      window->acquire();
      auto task = send(number, silent, random() % 3 == 0 ? random() % 20'000 : 0, window);
      if (silent || random() % 8 == 0) toCancel.push_back(std::move(task));
      // Sooner or later, and never so late that the window is full of what waits for it.
      if (!toCancel.empty() && (random() % 3 == 0 || toCancel.size() > 8)) {
        toCancel.front()->cancel();
        toCancel.pop_front();
      }
    }
    for (const auto& task : toCancel) task->cancel();
    // All of this thread's requests have ended when the window is free again.
    for (int count = 0; count < windowSize; ++count) window->acquire();
    if (--threadsRunning_ == 0) client_.queue.stop();
  }

  std::shared_ptr<RequestTask> send(int number, bool silent, std::size_t bodySize,
                                    const std::shared_ptr<std::counting_semaphore<>>& window) {
    const auto path = (silent ? "/silent/" : "/echo/") + std::to_string(number);
    const std::string body(bodySize, static_cast<char>('a' + number % 26));
    const auto request = makeRequestBuilder<std::string>(
        {.method = body.empty() ? "GET" : "PUT",
         .URLString = server_.url(path),
         .parameters = body.empty() ? std::optional<Parameters>() : Parameters{{"body", Data(body)}},
         .headers = {{"Content-Type", "application/octet-stream"}},
         .apiConfiguration = client_.configuration});
    return request.execute([this, number, expected = path + "|" + body, window](const auto& result) {
      ++completions_[static_cast<std::size_t>(number)];
      count(result, expected);
      window->release();
    });
  }

  void count(const RequestBuilderOf<std::string>::Result& result, const std::string& expected) {
    if (result) {
      ++(result->body == expected ? succeeded_ : strange_);
      return;
    }
    const auto* transport = result.error().underlyingFailure().as<TransportError>();
    const bool wasCancelled = transport != nullptr && transport->code == TransportError::Code::cancelled;
    ++(wasCancelled ? cancelled_ : failed_);
  }

  TestClient client_{{}};
  LoopbackServer server_{FaultyEcho()};
  std::shared_ptr<StressInterceptor> interceptor_ = std::make_shared<StressInterceptor>();
  std::shared_ptr<URLSession> session_ = std::make_shared<URLSession>(
      LoopbackServer::reaching({.maximumConnectionsPerHost = 0}), std::make_shared<SessionDelegate>());
  std::array<std::atomic<int>, requestCount> completions_{};
  std::atomic<int> threadsRunning_ = threadCount;
  std::atomic<int> succeeded_ = 0;
  std::atomic<int> failed_ = 0;
  std::atomic<int> cancelled_ = 0;
  std::atomic<int> strange_ = 0;
};

}  // namespace

TEST(Stress, TenThousandRequestsCompleteOnceEachThroughFaultsRetriesAndCancels) {
  Stress stress;
  stress.run();
  stress.check();
}
