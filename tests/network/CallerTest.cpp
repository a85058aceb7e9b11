// Requests that threads of the host send themselves. Run with TILVANEGO_SEND_HERE, the other tests show that
// the rest is as in a request of the session's thread.
#include <atomic>
#include <csignal>
#include <future>
#include <latch>

#include <sys/wait.h>
#include <unistd.h>

#include "tests/network/SessionTest.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/NginxServer.h"
#include "tests/support/Threads.h"

using namespace tilvanego;
using namespace tilvanego::test;
using Code = TransportError::Code;

namespace {

ServerResponse handled(const ReceivedRequest& request) {
  if (request.path() == "/held") return silence;
  if (request.path() == "/half") return ServerResponse{halfBody}.then(End::silence);
  if (request.path() == "/give") return response(200, "given", {{"Set-Cookie", "a=b"}});
  return response(200, request.header("Cookie").value_or("hello"));
}

class Caller : public SessionTest {
 protected:
  TaskOutcome sendHere(const URLRequest& request) {
    const Send sent(*session, request);
    sent.task().resumeHere();
    EXPECT_EQ(sent.completions(), 1);
    const auto outcome = sent.outcome();
    EXPECT_EQ(outcome.thread, std::this_thread::get_id());
    return outcome;
  }

  const LoopbackServer server{handled};
};

}  // namespace

TEST_F(Caller, KeepsOneConnectionAndSharesTheCookiesOfItsSession) {
  for (int i = 0; i < 20; ++i) EXPECT_EQ(sendHere(get(server.url())).text(), "hello");
  EXPECT_EQ(server.connectionCount(), 1U);
  send(get(server.url("/give")));
  EXPECT_EQ(sendHere(get(server.url())).text(), "a=b");
  session->clearCookies();
  EXPECT_EQ(sendHere(get(server.url())).text(), "hello");
  sendHere(get(server.url("/give")));
  EXPECT_EQ(send(get(server.url())).text(), "a=b");
  EXPECT_EQ(server.connectionCount(), 2U);
}

TEST_F(Caller, IsCancelledAtAnyMomentByAnotherThread) {
  // Before the start the task is the session's.
  const Send unsent(*session, get(server.url()));
  unsent.task().cancel();
  unsent.task().resumeHere();
  EXPECT_EQ(unsent.outcome().code(), Code::cancelled);
  for (const char* path : {"/held", "/half"}) {
    for (const bool byProgress : {false, true}) {
      const auto before = server.requests().size();
      const Send sent(*session, get(server.url(path)));
      const auto canceller = std::async(std::launch::async, [&] {
        server.waitFor(&Counts::silences, before + 1);
        byProgress ? sent.task().progress()->cancel() : sent.task().cancel();
      });
      sent.task().resumeHere();
      EXPECT_EQ(sent.outcome().code(), Code::cancelled);
      EXPECT_EQ(sent.completions(), 1);
    }
  }
  // At no moment in particular: it ends once, in one of two ways.
  for (int i = 0; i < 300; ++i) {
    const Send sent(*session, get(server.url()));
    std::latch started(2);
    const auto canceller = std::async(std::launch::async, [&] {
      started.arrive_and_wait();
      for (std::atomic<int> spun = 0; spun < i * 100; ++spun) {
      }
      sent.task().cancel();
    });
    started.arrive_and_wait();
    sent.task().resumeHere();
    const auto outcome = sent.outcome();
    EXPECT_TRUE(outcome.status() == 200 || outcome.code() == Code::cancelled);
    EXPECT_EQ(sent.completions(), 1);
  }
}

TEST_F(Caller, WaitsForAConnectionUntilTheEndOfItsTimeOrItsCancel) {
  useSession({.maximumConnectionsPerHost = 2});
  inThreads(8, [&](int) {
    for (int i = 0; i < 20; ++i) EXPECT_EQ(sendHere(get(server.url())).status(), 200);
  });
  EXPECT_LE(server.connectionCount(), 2U);

  const Send one(*session, get(server.url("/held")));
  const Send other(*session, get(server.url("/held")));
  inThreads(
      2, [&](int number) { (number == 0 ? one : other).task().resumeHere(); },
      [&] {
        server.waitFor(&Counts::silences, 2);
        auto request = get(server.url());
        request.timeoutInterval = 0.05;
        EXPECT_EQ(sendHere(request).code(), Code::timedOut);
        const Send waiting(*session, get(server.url()));
        const auto canceller = std::async(std::launch::async, [&] { waiting.task().cancel(); });
        waiting.task().resumeHere();
        EXPECT_EQ(waiting.outcome().code(), Code::cancelled);
        one.task().cancel();
        EXPECT_EQ(sendHere(get(server.url())).status(), 200);
        other.task().cancel();
      });
}

TEST_F(Caller, EndsAsCancelledWithItsSession) {
  const Send held(*session, get(server.url("/held")));
  const Send late(*session, get(server.url()));
  inThreads(
      1, [&](int) { held.task().resumeHere(); },
      [&] {
        server.waitFor(&Counts::silences, 1);
        session.reset();
        EXPECT_EQ(held.completions(), 1);
      });
  EXPECT_EQ(held.outcome().code(), Code::cancelled);
  late.task().resumeHere();
  EXPECT_EQ(late.outcome().code(), Code::cancelled);

  // The last reference goes in the completion, which can't be waited for.
  auto shared = std::make_shared<URLSession>(LoopbackServer::reaching());
  auto& ending = *shared;
  const Send last(ending, get(server.url()), [&] { shared.reset(); });
  last.task().resumeHere();
  EXPECT_EQ(last.outcome().text(), "hello");
}

TEST_F(Caller, SendsAgainInACompletionAnObserverAndAChallenge) {
  struct Asking : URLSessionDelegate {
    URLAuthenticationResponse didReceiveChallenge(const URLSessionConfiguration&,
                                                  const URLSessionDataTaskProtocol&,
                                                  const URLAuthenticationChallenge&) override {
      ask();
      return {URLAuthenticationResponse::Disposition::useCredential, URLCredential{"a", "b"}};
    }
    std::function<void()> ask;
  };
  const LoopbackServer guarded([](const ReceivedRequest& request) {
    return request.header("Authorization") ? response(200, "in")
                                           : response(401, "", {{"WWW-Authenticate", "Basic realm=r"}});
  });
  const auto delegate = std::make_shared<Asking>();
  useSession({}, delegate);
  int inside = 0;
  delegate->ask = [&] { inside += sendHere(get(server.url())).status(); };
  const Send sent(*session, get(guarded.url()), [&] { inside += sendHere(get(server.url())).status(); });
  sent.task().progress()->addObserver([&](const Progress&) {
    if (inside == 200) inside += sendHere(get(server.url())).status();
  });
  sent.task().resumeHere();
  EXPECT_EQ(sent.outcome().text(), "in");
  EXPECT_EQ(inside, 600);
  // The session's own thread may too.
  Send& ofSession = make(get(server.url()), [&] { inside += sendHere(get(server.url())).status(); });
  ofSession.task().resume();
  EXPECT_EQ(ofSession.outcome().text(), "hello");
  EXPECT_EQ(inside, 800);
}

TEST_F(Caller, GetsTheExceptionOfItsCompletion) {
  const auto task = session->dataTaskFromProtocol(get(server.url()), [](auto&&...) { throw 7; });
  EXPECT_THROW(task->resumeHere(), int);
  EXPECT_EQ(sendHere(get(server.url())).status(), 200);
}

TEST_F(Caller, LeavesTheBrokenPipeSignalOfItsThreadAsItWas) {
  const NginxServer nginx;
  useSession({.additionalCertificates = nginx.certificate()});
  for (const bool blocks : {false, true}) {
    sigset_t pipe, before;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(blocks ? SIG_BLOCK : SIG_UNBLOCK, &pipe, nullptr);
    EXPECT_EQ(sendHere(get(nginx.secureURL("/hello"))).text(), "hello\n");
    pthread_sigmask(SIG_UNBLOCK, &pipe, &before);
    EXPECT_EQ(sigismember(&before, SIGPIPE), blocks ? 1 : 0);
  }
}

TEST_F(Caller, MayLackAnyAllocation) {
  sendHere(get(server.url()));
  bool failed = true;
  std::size_t next = 0;
  for (; failed; ++next) {
    std::optional<Failure> error;
    const auto task = session->dataTaskFromProtocol(
        get(server.url()), [&](auto&&, auto&&, auto&& why) { error = std::forward<decltype(why)>(why); });
    failAllocation(next + 1);
    task->resumeHere();
    failed = failAllocation(0) == 0;
    if (error) {
      EXPECT_EQ(error->as<TransportError>()->code, Code::unknown);
    }
  }
  EXPECT_GT(next, 3U);
  EXPECT_EQ(sendHere(get(server.url())).status(), 200);
}

#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
TEST_F(Caller, FailsInAForkedChildAndGoesOnInItsParent) {
  const Send held(*session, get(server.url("/held")));
  inThreads(
      1, [&](int) { held.task().resumeHere(); },
      [&] {
        server.waitFor(&Counts::silences, 1);
        const auto child = fork();
        if (child == 0) {
          const Send sent(*session, get(server.url()));
          sent.task().resumeHere();
          _exit(sent.outcome().code() == Code::cancelled ? 0 : 1);
        }
        int status = 1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(held.completions(), 0);
        EXPECT_EQ(sendHere(get(server.url())).status(), 200);
        held.task().cancel();
      });
  EXPECT_EQ(held.outcome().code(), Code::cancelled);
}

TEST_F(Caller, EndsAForkedChildThatReturnsFromACallback) {
  pid_t child = -1;
  const auto task = session->dataTaskFromProtocol(get(server.url()), [&](auto&&...) { child = fork(); });
  task->resumeHere();
  if (child == 0) _exit(0);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
  EXPECT_EQ(sendHere(get(server.url())).status(), 200);
}
#endif
