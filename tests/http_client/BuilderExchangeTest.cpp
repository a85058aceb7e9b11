// Builders over a session of the network's. What the two do by themselves is tested with the session in
// memory and without builders.
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>

#include <tilvanego/http_client/CachesDirectory.h>
#include <tilvanego/network/URLSession.h>

#include "tests/http_client/TestClient.h"
#include "tests/support/Authentication.h"
#include "tests/support/NginxServer.h"
#include "tests/support/TemporaryDirectory.h"

namespace tilvanego::test {
namespace {

const URLCredential right{"till", "s3cret pass"};
const URLCredential wrong{"till", "guess"};

class BuilderExchange : public testing::Test {
 protected:
  /// What a completion was given, and whether it ran on the queue.
  template <typename T>
  struct Outcome {
    bool onQueue = false;
    std::optional<typename RequestBuilderOf<T>::Result> result;
    [[nodiscard]] int code() const { return *result ? 0 : result->error().code(); }
    [[nodiscard]] std::optional<TransportError::Code> transportCode() const {
      const auto* cause =
          *result ? nullptr : result->error().underlyingFailure().template as<TransportError>();
      return cause != nullptr ? std::optional(cause->code) : std::nullopt;
    }
  };

  BuilderExchange() {
    setenv("XDG_CACHE_HOME", directory.path().c_str(), 1);
    useSession({});
    client.interceptor->onRetry = [this](const auto& completion) {
      completion(retries-- > 0 ? OpenAPIInterceptorRetry::retry : OpenAPIInterceptorRetry::dontRetry);
    };
    client.interceptor->onWillSend = [this](RequestBuilder& builder) {
      identifiers.push_back(builder.requestTask->get()->taskIdentifier());
    };
  }
  ~BuilderExchange() override { unsetenv("XDG_CACHE_HOME"); }

  void TearDown() override {
    configuration.reset();
    session_.reset();  // with its thread, so no completion can follow
    queue.runPending();
    EXPECT_EQ(running_, 0) << "each completion ran once";
    for (const int identifier : identifiers) EXPECT_FALSE(hasCredential(identifier));
  }

  void useSession(URLSessionConfiguration sessionConfiguration) {
    if (!sessionConfiguration.proxy) sessionConfiguration.proxy = "";  // whatever the environment says
    session_ =
        std::make_shared<URLSession>(std::move(sessionConfiguration), std::make_shared<SessionDelegate>());
    client.useSession(session_);
    configuration->setCredential(std::nullopt);
  }

  /// The outcome is there after `finish`.
  template <typename T>
  std::shared_ptr<Outcome<T>> start(const RequestBuilderOf<T>& request) {
    auto outcome = std::make_shared<Outcome<T>>();
    ++running_;
    request.execute([this, outcome](auto result) {
      outcome->onQueue = queue.isCurrent();
      outcome->result = std::move(result);
      if (--running_ == 0) queue.stop();
    });
    return outcome;
  }
  void finish() {
    while (running_ != 0) queue.run();
  }
  template <typename T>
  Outcome<T> send(const std::string& method, const std::string& url) {
    const auto outcome = start(client.builder<T>({.method = method, .URLString = url}));
    finish();
    return *outcome;
  }

  static bool hasCredential(int taskIdentifier) {
    return URLSessionRequestBuilderConfiguration::shared().credentialStore->value(taskIdentifier).has_value();
  }

  const TemporaryDirectory directory;
  TestClient client{{}};
  RunLoop& queue = client.queue;
  std::shared_ptr<OstrelTilvanePoiModelsAPIConfiguration>& configuration = client.configuration;
  int retries = 0;
  std::vector<int> identifiers;

 private:
  std::shared_ptr<URLSession> session_;
  std::atomic<int> running_ = 0;
};

TEST_F(BuilderExchange, ACredentialAnswersOneChallengeAndIsForgotten) {
  const LoopbackServer server(guarded(Scheme::digestSHA256));
  configuration->setCredential(right);
  EXPECT_EQ(send<std::string>("POST", server.url()).result->value().body, "POST ");
  configuration->setCredential(wrong);
  const auto refused = send<std::string>("GET", server.url());
  EXPECT_EQ(refused.code(), 401);
  EXPECT_EQ(refused.result->error().data()->text(), "who is it?");
  configuration->setCredential(std::nullopt);
  EXPECT_EQ(send<std::string>("GET", server.url("/without")).code(), 401);
  auto own = client.builder<std::string>({.method = "GET", .URLString = server.url("/own")});
  own->setCredential(right);
  const auto opened = start(own);
  finish();
  EXPECT_EQ(opened->code(), 0);
}

TEST_F(BuilderExchange, TheStorageHasACredentialForABuilderWithout) {
  const LoopbackServer server(guarded(Scheme::basic));
  const auto storage = std::make_shared<URLCredentialStorage>();
  storage->setDefaultCredential(right, {"127.0.0.1", server.port(), "http", "shop"});
  useSession({.credentialStorage = storage});
  EXPECT_EQ(send<std::string>("GET", server.url()).code(), 0);
  configuration->setCredential(wrong);
  EXPECT_EQ(send<std::string>("GET", server.url()).code(), 401);
  useSession({.credentialStorage = nullptr});
  EXPECT_EQ(send<std::string>("GET", server.url()).code(), 401);
}

TEST_F(BuilderExchange, TheCredentialIsThereWhileTheTaskIsAndGoesWithEachTry) {
  const LoopbackServer server(
      [](const ReceivedRequest& request) { return request.path() == "/held" ? silence : response(500); });
  configuration->setCredential(right);
  std::size_t holds = 0;
  // After the second, the builder doesn't know the task any more.
  for (const bool bySessionsTask : {true, false}) {
    const auto held = client.builder<std::string>({.method = "GET", .URLString = server.url("/held")});
    const auto outcome = start(held);
    server.waitFor(&Counts::silences, ++holds);
    EXPECT_TRUE(hasCredential(identifiers.back()));
    bySessionsTask ? held->requestTask->get()->cancel() : held->requestTask->cancel();
    finish();
    EXPECT_FALSE(hasCredential(identifiers.back()));
    EXPECT_EQ(outcome->transportCode(), TransportError::Code::cancelled);
    EXPECT_TRUE(outcome->onQueue);
  }
  retries = 100;  // it alone bounds them
  EXPECT_EQ(send<std::string>("GET", server.url("/failing")).code(), 500);
  EXPECT_EQ(identifiers.size(), 103U);
}

TEST_F(BuilderExchange, ItsCredentialGoesOnceAndToTheServerOfTheRequestAlone) {
  // Each of them asks again and again, by another name.
  const auto asking = [](const char* field, int status) {
    return [field, status, count = 0](const ReceivedRequest&) mutable {
      return response(status, "who?", {{field, "Basic realm=\"" + std::to_string(++count) + "\""}});
    };
  };
  const auto credentialsIn = [](const LoopbackServer& server) {
    return std::ranges::count_if(server.requests(), [](const ReceivedRequest& request) {
      return request.header("Authorization") || request.header("Proxy-Authorization");
    });
  };
  const LoopbackServer elsewhere(asking("WWW-Authenticate", 401));
  const LoopbackServer server(
      [&, own = asking("WWW-Authenticate", 401)](const ReceivedRequest& request) mutable {
        return request.path() == "/away" ? redirect(elsewhere.url()) : own(request);
      });
  const LoopbackServer proxy(asking("Proxy-Authenticate", 407));
  configuration->setCredential(right);
  EXPECT_EQ(send<std::string>("GET", server.url()).code(), 401);
  EXPECT_EQ(credentialsIn(server), 1);
  EXPECT_EQ(send<std::string>("GET", server.url("/away")).code(), 401);
  EXPECT_EQ(credentialsIn(elsewhere), 0);
  const auto storage = std::make_shared<URLCredentialStorage>();
  useSession({.credentialStorage = storage, .proxy = proxy.url("")});
  configuration->setCredential(right);
  EXPECT_EQ(send<std::string>("GET", "http://shop.invalid/").code(), 407);
  EXPECT_EQ(send<std::string>("GET", "https://shop.invalid/").code(), ErrorResponse::transportFailed);
  EXPECT_EQ(credentialsIn(proxy), 0);
  // What the host keeps for the proxy itself goes there.
  for (int realm = 1; realm < 10; ++realm) {
    storage->setDefaultCredential(right, {.host = "127.0.0.1",
                                          .port = proxy.port(),
                                          .protocol = "http",
                                          .realm = std::to_string(realm),
                                          .isProxy = true});
  }
  EXPECT_EQ(send<std::string>("GET", "http://shop.invalid/").code(), 407);
  EXPECT_EQ(credentialsIn(proxy), 1);
  storage->clear();
  EXPECT_EQ(send<std::string>("GET", "http://shop.invalid/").code(), 407);
  EXPECT_EQ(credentialsIn(proxy), 1);
}

TEST_F(BuilderExchange, AFileOfAnySizeLandsBelowTheCaches) {
  useSession({.maximumBodySize = 1});
  const LoopbackServer server([](const ReceivedRequest&) {
    return response(200, "body", {{"Content-Disposition", "attachment; filename=\"report.pdf\""}});
  });
  const auto outcome = send<URL>("GET", server.url("/a"));
  ASSERT_EQ(outcome.code(), 0) << outcome.result->error().description();
  EXPECT_FALSE(outcome.onQueue);
  const auto file = CachesDirectory::path() / "a/report.pdf";
  EXPECT_EQ(outcome.result->value().body.path(), file.string());
  EXPECT_EQ(std::filesystem::file_size(file), 4U);
}

TEST_F(BuilderExchange, ACompletionThatThrowsOnTheSessionsThreadEndsTheProcessByName) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto end = [this] {
    const LoopbackServer server([](const ReceivedRequest&) { return response(200); });
    client.builder<std::string>({.method = "GET", .URLString = server.url("/")}).execute([](const auto&) {
      throw std::runtime_error("a secret");
    });
    queue.run();
  };
  EXPECT_EXIT(end(), testing::KilledBySignal(SIGABRT),
              "TilvaneGo: the completion of RequestBuilder::execute threw std::runtime_error on a thread of");
}

TEST_F(BuilderExchange, TheDefaultSessionServesWhatNamesNoOther) {
  const NginxServer nginx;
  std::ofstream(nginx.files() / "list") << R"(["from","nginx"])";
  for (const char* variable : {"http_proxy", "all_proxy", "ALL_PROXY"}) unsetenv(variable);
  configuration->setRequestBuilderFactory(std::make_shared<URLSessionRequestBuilderFactory>());
  configuration->setCredential(right);
  using Texts = std::vector<std::string>;
  for (const auto* path : {"/private/list", "/zipped/list"}) {
    EXPECT_EQ(send<Texts>("GET", nginx.url(path)).result->value().body, (Texts{"from", "nginx"}));
  }
  EXPECT_EQ(send<Empty>("DELETE", nginx.url("/sink")).code(), 0);
  EXPECT_EQ(send<std::string>("GET", nginx.secureURL("/hello")).transportCode(),
            TransportError::Code::serverCertificateUntrusted);
}

}  // namespace
}  // namespace tilvanego::test
