// What builders put on the wire, and what they make of answers.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/http_client/BuilderTest.h"
#include "tests/support/Authentication.h"
#include "tests/support/HTTPMessages.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/NginxServer.h"

using namespace tilvanego;
using namespace tilvanego::test;
namespace fs = std::filesystem;

namespace {

using BuilderAuthentication = BuilderTest;
using BuilderDownloads = BuilderTest;
using BuilderRequests = BuilderTest;
using Scheme = Authenticator::Scheme;

const URLCredential right{std::string(Authenticator::user), std::string(Authenticator::password)};
const URLCredential wrong{"till", "guess"};
const std::map<std::string, std::string> form{{"Content-Type", "application/x-www-form-urlencoded"}};

std::string contents(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<fs::path> filesBelow(const fs::path& directory) {
  std::vector<fs::path> files;
  if (!fs::exists(directory)) return files;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (!entry.is_directory()) files.push_back(entry.path());
  }
  return files;
}

}  // namespace

TEST_F(BuilderAuthentication, ACredentialAnswersOneChallengeAndIsForgotten) {
  for (const auto scheme : {Scheme::basic, Scheme::digestMD5, Scheme::digestSHA256}) {
    SCOPED_TRACE(static_cast<int>(scheme));
    const LoopbackServer server([authenticator = Authenticator(scheme)](const ReceivedRequest& request) {
      return authenticator.admits(request) ? answer(200, request.body) : authenticator.challenge();
    });
    configuration->setCredential(right);
    const auto opened = send(builder<std::string>("POST", server.url(), Parameters{{"a", 1}}, form));
    ASSERT_EQ(opened.code(), 0) << opened.error().description();
    EXPECT_TRUE(opened.response().body.contains("a=1"));

    configuration->setCredential(wrong);
    const auto refused = send<std::string>("GET", server.url());
    EXPECT_EQ(refused.code(), 401);
    EXPECT_EQ(refused.error().data()->text(), "who is it?");

    configuration->setCredential(std::nullopt);
    EXPECT_EQ(send<std::string>("GET", server.url("/without")).code(), 401);

    auto own = builder<std::string>("GET", server.url("/own"));
    own->setCredential(right);
    EXPECT_EQ(send(own).code(), 0);
  }
  for (const int identifier : interceptor->taskIdentifiers()) EXPECT_FALSE(hasCredential(identifier));
}

TEST_F(BuilderAuthentication, TheCredentialIsThereWhileTheTaskIsAndGoesWithEachTry) {
  LoopbackServer server(
      [](const ReceivedRequest& request) { return request.path() == "/held" ? silence() : answer(500); });
  configuration->setCredential(right);
  std::size_t holds = 0;
  // After the second, the builder doesn't know the task any more.
  for (const bool bySessionsTask : {true, false}) {
    const auto held = builder<std::string>("GET", server.url("/held"));
    const auto told = start(held);
    server.waitForHolds(++holds);
    const int identifier = held->requestTask->get()->taskIdentifier();
    EXPECT_TRUE(hasCredential(identifier));
    bySessionsTask ? held->requestTask->get()->cancel() : held->requestTask->cancel();
    finish();
    EXPECT_FALSE(hasCredential(identifier));
  }

  interceptor->retries = 3;
  EXPECT_EQ(send<std::string>("GET", server.url("/failing")).code(), 500);
  EXPECT_EQ(interceptor->taskIdentifiers().size(), 6U);
  for (const int each : interceptor->taskIdentifiers()) EXPECT_FALSE(hasCredential(each));
}

TEST_F(BuilderAuthentication, ItsCredentialGoesOnceAndToTheServerOfTheRequestAlone) {
  // Each of them asks again and again, by another name.
  const auto asking = [](const char* field, int status) {
    return [field, status, count = 0](const ReceivedRequest&) mutable {
      return answer(status, "who?", {{field, "Basic realm=\"" + std::to_string(++count) + "\""}});
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

  URLSessionConfiguration throughProxy;
  throughProxy.proxy = proxy.url("");
  throughProxy.credentialStorage = std::make_shared<URLCredentialStorage>();
  const auto storage = throughProxy.credentialStorage;
  useSession(std::move(throughProxy));
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

TEST_F(BuilderDownloads, AFileLandsBelowTheCachesUnderTheNameThatTheServerGives) {
  struct Case {
    const char* path;
    std::optional<std::string> disposition;
    std::string name;  // empty: a generated one in the path's directory
  };
  const std::vector<Case> cases{
      {"/a/b", "attachment; filename=\"report.pdf\"", "a/b/report.pdf"},
      {"/a/b", "attachment; filename=plain.txt; size=3", "a/b/plain.txt"},
      {"/a", "attachment; filename=\"two words\xC3\xA4.txt\"", "a/two words\xC3\xA4.txt"},
      {"/a%20b/c", "inline;filename=x", "a b/c/x"},
      {"/g", std::nullopt, ""},
      {"/g", "attachment", ""},
      {"/g", "attachment; filename*=UTF-8''star.txt", ""},
      {"/g", "attachment; FILENAME=case.txt", ""},
  };
  const auto root = caches.path() / "caches";
  // Of any size, whatever other bodies may have.
  URLSessionConfiguration narrow;
  narrow.maximumBodySize = 1;
  useSession(std::move(narrow));
  for (const auto& [path, disposition, name] : cases) {
    SCOPED_TRACE(disposition.value_or("none"));
    const LoopbackServer server([&](const ReceivedRequest&) {
      return answer(200, std::string_view("b\0dy", 4),
                    disposition ? HeaderFields{{"Content-Disposition", *disposition}} : HeaderFields());
    });
    const auto told = send<URL>("GET", server.url(path));
    ASSERT_EQ(told.code(), 0) << told.error().description();
    EXPECT_EQ(told.where, Where::session);
    const auto files = filesBelow(root);
    ASSERT_EQ(files.size(), 1U);
    if (name.empty()) {
      EXPECT_EQ(files.front().parent_path(), root / "g");
      EXPECT_TRUE(files.front().filename().string().starts_with("tmp.OstrelTilvanePoiModels."));
    } else {
      EXPECT_EQ(files.front(), root / name);
    }
    EXPECT_EQ(told.response().body.path(), files.front().string());
    EXPECT_EQ(contents(files.front()), std::string("b\0dy", 4));
    EXPECT_EQ(told.response().bodyData->text(), std::string_view("b\0dy", 4));
    fs::remove_all(root);
  }
}

TEST_F(BuilderDownloads, NoServerWritesOutsideTheCaches) {
  using namespace std::string_literals;
  const auto root = caches.path() / "caches";
  const auto outside = caches.path() / "target";
  std::ofstream(outside) << "untouched";
  const std::vector<std::string> dispositions{
      "attachment; filename=\"../../x\"",
      "attachment; filename=\"../target\"",
      "attachment; filename=../../target",
      "attachment; filename=\"" + outside.string() + "\"",
      "attachment; filename=/etc/tilvanego",
      "attachment; filename=..",
      "attachment; filename=.",
      "attachment; filename=\"a/../../../target\"",
      "attachment; filename=\"..\\..\\x\"",
      "attachment; filename=" + std::string(5000, 'n'),
      "attachment; filename=\"..%2f..%2ftarget\"",
      "attachment; filename=\"\x01\x1b[2J\"",
      "attachment; filename=a; filename=../../target",
  };
  for (const auto& disposition : dispositions) {
    for (const auto* path : {"/", "/a/b", "/%2e%2e/%2e%2e/a", "/..%2f..%2f", "/a/..%2f..%2ftarget"}) {
      SCOPED_TRACE(disposition.substr(0, 100) + " at " + path);
      const LoopbackServer server([&](const ReceivedRequest&) {
        return answer(200, "evil", {{"Content-Disposition", disposition}});
      });
      const auto told = send<URL>("GET", server.url(path));
      if (told.code() != 0) {
        EXPECT_EQ(told.code(), ErrorResponse::downloadFailed) << told.error().description();
        EXPECT_EQ(told.where, Where::session);
      } else {
        EXPECT_TRUE(told.response().body.path().starts_with(root.string() + "/"))
            << told.response().body.path();
        EXPECT_FALSE(told.response().body.path().contains("/../"));
      }
      EXPECT_EQ(contents(outside), "untouched");
      for (const auto& entry : fs::directory_iterator(caches.path())) {
        EXPECT_TRUE(entry.path() == root || entry.path() == outside) << entry.path();
      }
    }
  }
  EXPECT_FALSE(fs::exists("/etc/tilvanego"));
}

TEST_F(BuilderDownloads, ALinkInTheCachesLeadsNowhere) {
  const auto root = caches.path() / "caches";
  const auto elsewhere = caches.path() / "elsewhere";
  fs::create_directory(root);
  fs::create_directory(elsewhere);
  fs::create_directory_symlink(elsewhere, root / "a");
  const LoopbackServer server([](const ReceivedRequest&) {
    return answer(200, "body", {{"Content-Disposition", "attachment; filename=x"}});
  });
  EXPECT_EQ(send<URL>("GET", server.url("/a")).code(), ErrorResponse::downloadFailed);
  EXPECT_TRUE(filesBelow(elsewhere).empty());
}

TEST_F(BuilderDownloads, ACachesDirectoryThatCannotBeWrittenFailsTheDownload) {
  std::ofstream(caches.path() / "caches") << "a file in its place";
  const LoopbackServer server([](const ReceivedRequest&) { return answer(200, "body"); });
  const auto told = send<URL>("GET", server.url("/a"));
  EXPECT_EQ(told.code(), ErrorResponse::downloadFailed);
  EXPECT_EQ(told.error().data()->text(), "body");
  EXPECT_EQ(told.where, Where::session);
}

TEST_F(BuilderRequests, NoTextOfTheHostsBreaksOutOfItsPlace) {
  using namespace std::string_literals;
  const LoopbackServer server([](const ReceivedRequest&) { return answer(200); });
  for (const auto& evil : {"v\r\nX-Evil: 1"s, "v\nX-Evil: 1"s, "v\rX-Evil: 1"s, "v\0X-Evil: 1"s,
                           "\r\n\r\nGET /X-Evil HTTP/1.1\r\n\r\n"s}) {
    // A header that would break out is refused before anything is sent.
    EXPECT_EQ(send(builder<std::string>("GET", server.url(), {}, {{"X-Till", evil}})).code(),
              ErrorResponse::transportFailed);
    EXPECT_EQ(send(builder<std::string>("GET", server.url(), {}, {{"X-Evil" + evil, "v"}})).code(),
              ErrorResponse::transportFailed);
    configuration->setCustomHeaders({{"X-Till", evil}});
    EXPECT_EQ(send<std::string>("GET", server.url()).code(), ErrorResponse::transportFailed);
    configuration->setCustomHeaders({});
    ASSERT_EQ(server.receivedBytes(), "");
  }
  for (const auto& evil : {"v\r\nX-Evil: 1"s, "v&b=2#c"s, "v\0w"s, "\r\n\r\nGET /X-Evil HTTP/1.1\r\n\r\n"s}) {
    EXPECT_EQ(send(builder<std::string>("GET", server.url("/query"), Parameters{{"a" + evil, evil}})).code(),
              0);
    EXPECT_EQ(
        send(builder<std::string>("POST", server.url("/form"), Parameters{{"a" + evil, evil}}, form)).code(),
        0);
  }
  for (const auto& request : server.requests()) {
    EXPECT_FALSE(request.header("X-Evil")) << request.raw;
    EXPECT_FALSE(request.raw.contains("\nX-Evil")) << request.raw;
    EXPECT_TRUE(request.path() == "/query" || request.path() == "/form") << request.raw;
  }
  EXPECT_EQ(server.requests().size(), 8U);
}

TEST_F(BuilderRequests, ProgressCoversUploadAndAnswer) {
  const std::string body(5'000'000, 'p');
  const LoopbackServer server([](const ReceivedRequest& request) { return answer(200, request.body); });
  auto request = builder<Data>("POST", server.url(), Parameters{{"body", Data(body)}},
                               {{"Content-Type", "application/octet-stream"}});
  std::shared_ptr<Progress> seen;
  std::atomic<int> changes = 0;
  request->setOnProgressReady([&](const std::shared_ptr<Progress>& progress) {
    seen = progress;
    progress->addObserver([&](const Progress&) { ++changes; });
  });
  const auto told = send(request);
  ASSERT_EQ(told.code(), 0) << told.error().description();
  EXPECT_TRUE(told.response().body.text() == body);
  EXPECT_TRUE(seen->isFinished());
  EXPECT_GT(changes.load(), 2);
}

TEST_F(BuilderRequests, TheDefaultSessionServesWhatNamesNoOther) {
  const NginxServer nginx;
  std::ofstream(nginx.files() / "list") << R"(["from","nginx"])";
  unsetenv("http_proxy");
  unsetenv("all_proxy");
  unsetenv("ALL_PROXY");
  configuration->setRequestBuilderFactory(std::make_shared<URLSessionRequestBuilderFactory>());
  configuration->setCredential(right);
  using Texts = std::vector<std::string>;
  EXPECT_EQ(send<Texts>("GET", nginx.url("/private/list")).response().body, (Texts{"from", "nginx"}));
  EXPECT_EQ(send<Texts>("GET", nginx.url("/zipped/list")).response().body, (Texts{"from", "nginx"}));
  EXPECT_EQ(send<Empty>("DELETE", nginx.url("/status/204")).code(), 0);
  EXPECT_EQ(send<std::string>("GET", nginx.secureURL("/hello")).cause<TransportError>()->code,
            TransportError::Code::serverCertificateUntrusted);
  for (const int identifier : interceptor->taskIdentifiers()) EXPECT_FALSE(hasCredential(identifier));
}
