#include <atomic>
#include <csignal>
#include <filesystem>
#include <random>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/desktop/CallbackReceiver.h>
#include <tilvanego/platform/desktop/CallbackServer.h>
#include <tilvanego/platform/desktop/CallbackSocket.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

using namespace tilvanego;
namespace fs = std::filesystem;

namespace {

constexpr const char* name = "com.example.till";

/// A thread that is joined at its end: `std::jthread`, which libc++ doesn't have yet.
class JoinedThread {
 public:
  template <typename Run>
  explicit JoinedThread(Run run) : thread_(std::move(run)) {}
  JoinedThread(JoinedThread&&) = default;
  JoinedThread& operator=(JoinedThread&&) = delete;
  ~JoinedThread() {
    if (thread_.joinable()) thread_.join();
  }

 private:
  std::thread thread_;
};

URL urlOf(const std::string& text) { return URL::parse(text).value(); }

/// A desktop session of one user.
class CallbackReceiverTest : public testing::Test {
 protected:
  CallbackReceiverTest() { ::setenv("XDG_RUNTIME_DIR", session_.path().c_str(), 1); }
  ~CallbackReceiverTest() override { ::unsetenv("XDG_RUNTIME_DIR"); }

  /// Claims the name for a host that notes what it receives.
  std::unique_ptr<CallbackReceiver> claimed(std::optional<URL> url = std::nullopt) {
    auto receiver = CallbackReceiver::claim(name, std::move(url));
    EXPECT_TRUE(receiver) << receiver.error();
    if (receiver && *receiver) (*receiver)->receive(loop_, [this](const URL& one) { note(one); });
    return receiver ? *std::move(receiver) : nullptr;
  }

  void note(const URL& url) {
    received_.push_back(url.absoluteString());
    if (received_.size() == expected_) loop_.stop();
  }

  /// Runs the loop until so many URLs have come.
  void waitFor(std::size_t count) {
    expected_ = count;
    if (received_.size() < count) loop_.run();
  }

  [[nodiscard]] std::string socketPath() const {
    return (session_.path() / "tilvanego" / (std::string(name) + ".callbacks")).string();
  }

  /// What a handler in another language does: sends the text, and returns the reply.
  std::string replyTo(std::string_view text) const {
    const auto handed = detail::handOverCallback(socketPath(), text, std::chrono::seconds(20));
    return handed ? "ok" : handed.error().message;
  }

  TemporaryDirectory session_;
  RunLoop loop_;
  std::vector<std::string> received_;
  std::size_t expected_ = 0;
};

TEST_F(CallbackReceiverTest, TheFirstReceivesWhatLaterOnesHandOver) {
  const auto receiver = claimed(urlOf("myshop://done?first"));
  EXPECT_EQ(*CallbackReceiver::claim(name, std::nullopt), nullptr);
  EXPECT_NE(*CallbackReceiver::claim("com.example.other", std::nullopt), nullptr);
  std::atomic<bool> ended = false;
  const JoinedThread second([&] {
    const auto later = CallbackReceiver::claim(name, urlOf("myshop://done?later"));
    EXPECT_TRUE(later && *later == nullptr);
    ended = true;
  });
  EXPECT_TRUE(received_.empty()) << "only in a turn of the main queue";
  EXPECT_FALSE(ended) << "not before the handler has returned";
  waitFor(2);
  EXPECT_EQ(received_, (std::vector<std::string>{"myshop://done?first", "myshop://done?later"}));
}

TEST_F(CallbackReceiverTest, AUrlThatWasNotHandledGoesToTheNextHost) {
  auto receiver = claimed();
  std::unique_ptr<CallbackReceiver> next;
  {
    const JoinedThread second([&] { next = *CallbackReceiver::claim(name, urlOf("myshop://done?kept")); });
    // The URL waits in the queue when its host ends.
    std::atomic<bool> arrived = false;
    loop_.setWakeUp([&] { arrived = true; });
    while (!arrived) std::this_thread::yield();
    loop_.setWakeUp({});
    receiver.reset();
    loop_.runPending();
  }
  EXPECT_TRUE(received_.empty());
  ASSERT_NE(next, nullptr);
  next->receive(loop_, [this](const URL& one) { note(one); });
  waitFor(1);
  EXPECT_EQ(received_, std::vector<std::string>{"myshop://done?kept"});
}

TEST_F(CallbackReceiverTest, OfProgramsThatStartAtOnceOneReceivesAllUrls) {
  constexpr std::size_t programs = 12;
  std::vector<std::unique_ptr<CallbackReceiver>> claims(programs);
  std::vector<JoinedThread> threads;
  for (std::size_t i = 0; i < programs; ++i) {
    threads.emplace_back([&, i] {
      auto claim = CallbackReceiver::claim(name, urlOf("myshop://done?" + std::to_string(i)));
      if (claim && *claim) (*claim)->receive(loop_, [this](const URL& one) { note(one); });
      if (claim) claims[i] = *std::move(claim);
    });
  }
  waitFor(programs);
  threads.clear();
  EXPECT_EQ(std::ranges::count_if(claims, [](const auto& one) { return one != nullptr; }), 1);
  std::ranges::sort(received_);
  EXPECT_EQ(std::ranges::unique(received_).begin(), received_.end());
}

TEST_F(CallbackReceiverTest, SaysWhatIsWrongWithWhatComes) {
  const auto receiver = claimed();
  const struct {
    std::string text;
    std::string reply;
  } cases[] = {
      {"", "What came is no URL: "},
      {"http://[::1", "What came is no URL: "},
      {std::string(detail::maxCallbackURL + 1, 'a'), "The URL is longer than 16777216 bytes."},
  };
  for (const auto& one : cases) EXPECT_TRUE(replyTo(one.text).starts_with(one.reply)) << replyTo(one.text);
  const JoinedThread sender([&] { EXPECT_EQ(replyTo("myshop://done"), "ok"); });
  waitFor(1);
}

TEST_F(CallbackReceiverTest, AHandlerThatThrowsHasNotTakenTheUrl) {
  auto receiver = CallbackReceiver::claim(name, std::nullopt);
  (*receiver)->receive(loop_, [](const URL&) { throw std::runtime_error("the host's"); });
  std::atomic<bool> over = false;
  const JoinedThread sender([&] {
    const auto later = CallbackReceiver::claim(name, urlOf("myshop://done"));
    EXPECT_EQ(later.error(), "The host at " + socketPath() +
                                 " hasn't said that it took the URL: it has ended, or its handler failed.");
    over = true;
    loop_.post([] {});
  });
  int thrown = 0;
  while (!over) {
    try {
      loop_.runPending();
    } catch (const std::runtime_error&) {
      ++thrown;
    }
  }
  EXPECT_EQ(thrown, 3) << "it tries again, but not for ever";
}

TEST_F(CallbackReceiverTest, KeepsWhatIsNoSocketAndRefusesNames) {
  fs::create_directories(session_.path() / "tilvanego");
  fs::permissions(session_.path() / "tilvanego", fs::perms::owner_all);
  fs::create_directory(socketPath());
  EXPECT_EQ(CallbackReceiver::claim(name, std::nullopt).error(),
            socketPath() + " is there already and is no socket; choose another path.");
  for (const char* wrong : {"", ".", "..", "a/b"}) {
    EXPECT_DEATH(static_cast<void>(CallbackReceiver::claim(wrong, std::nullopt)), "takes one name");
  }
  const char* const arguments[] = {"till", "--verbose", "a file", "myshop://done?x", "other://"};
  EXPECT_EQ(CallbackReceiver::urlIn(5, arguments), urlOf("myshop://done?x"));
  EXPECT_EQ(CallbackReceiver::urlIn(3, arguments), std::nullopt);
}

std::size_t openDescriptors() {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

/// Returns no descriptor if nobody listens.
detail::FileDescriptor connectedTo(const std::string& path) {
  detail::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::ranges::copy(path, address.sun_path);
  const int code = ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  return code == 0 ? std::move(socket) : detail::FileDescriptor();
}

TEST_F(CallbackReceiverTest, AHostWithAFullQueueOfConnectionsListensAndASenderWaitsForItsTurn) {
  const std::string path = (session_.path() / "busy").string();
  auto listener = detail::listenForCallbacks(path, detail::ReplacedSockets::withoutListener);
  ASSERT_TRUE(listener);
  ::listen(listener->get(), 0);
  const auto first = connectedTo(path);
  const auto handed = detail::handOverCallback(path, "a:b", std::chrono::milliseconds(1));
  EXPECT_EQ(handed.error().reason, detail::HandOverFailure::Reason::refused) << handed.error().message;
  const JoinedThread sender(
      [&] { EXPECT_TRUE(detail::handOverCallback(path, "a:b", std::chrono::seconds(20))); });
  ::close(::accept(listener->get(), nullptr, nullptr));
  detail::FileDescriptor second;
  while (!second) second = detail::FileDescriptor(::accept(listener->get(), nullptr, nullptr));
  ::send(second.get(), detail::callbackTaken.data(), detail::callbackTaken.size(), MSG_NOSIGNAL);
}

/// One connection of a peer that does anything: it may send a part, a whole or nothing, in pieces, half
/// close, close, or read no reply.
void misbehave(const std::string& path, std::mt19937& random) {
  const auto socket = connectedTo(path);
  if (!socket) return;
  const std::string_view text = random() % 2 == 0 ? "myshop://done?random" : "\xff\x00 no URL";
  for (std::size_t pieces = random() % 4; pieces > 0; --pieces) {
    static_cast<void>(::send(socket.get(), text.data(), random() % (text.size() + 1), MSG_NOSIGNAL));
  }
  if (random() % 2 == 0) ::shutdown(socket.get(), random() % 3 == 0 ? SHUT_RDWR : SHUT_WR);
  char reply{};
  if (random() % 8 == 0) static_cast<void>(::recv(socket.get(), &reply, 1, MSG_DONTWAIT));
}

TEST_F(CallbackReceiverTest, PeersThatMisbehaveLeaveNothingBehind) {
  const auto receiver = claimed();
  {
    const JoinedThread warm([&] { EXPECT_EQ(replyTo("myshop://done?warm"), "ok"); });
    waitFor(1);
  }
  const std::size_t before = openDescriptors();
  {
    std::atomic<bool> over = false;
    const JoinedThread peers([&] {
      std::mt19937 random(20261122);
      for (int i = 0; i < 100'000; ++i) misbehave(socketPath(), random);
      EXPECT_EQ(replyTo("myshop://done?last"), "ok");
      over = true;
    });
    while (!over) loop_.runPending();
  }
  EXPECT_EQ(received_.back(), "myshop://done?last");
  EXPECT_LE(openDescriptors(), before);
}

/// The reply that a slow sender receives: a byte more for each look at it, as long as it is connected.
std::string replyToDripping(const detail::FileDescriptor& socket) {
  std::array<char, 512> reply{};
  for (;;) {
    static_cast<void>(::send(socket.get(), "a", 1, MSG_NOSIGNAL));
    const auto count = ::recv(socket.get(), reply.data(), reply.size(), MSG_DONTWAIT);
    if (count >= 0) return std::string(reply.data(), static_cast<std::size_t>(count));
    std::this_thread::yield();
  }
}

TEST_F(CallbackReceiverTest, SlowSendersAreToldSoAndKeepNobodyOut) {
  using Patience = detail::CallbackServer::Patience;
  const std::chrono::hours forEver(1);
  const struct {
    Patience patience;
    std::size_t senders;
  } cases[] = {
      {{.longestPause = forEver, .longestURL = std::chrono::milliseconds(20), .longestTurn = forEver}, 1},
      {{.longestPause = forEver, .longestURL = forEver, .longestTurn = std::chrono::milliseconds(1)}, 16},
  };
  for (const auto& one : cases) {
    const std::string path = (session_.path() / "socket").string();
    const detail::CallbackServer server(
        *detail::listenForCallbacks(path), [](const auto&, const auto& reply) { reply->send("ok"); },
        one.patience);
    std::vector<detail::FileDescriptor> slow(one.senders);
    for (auto& sender : slow) sender = connectedTo(path);
    EXPECT_TRUE(detail::handOverCallback(path, "a:b", std::chrono::seconds(20)));
    EXPECT_TRUE(replyToDripping(slow.front()).starts_with("The URL didn't come in time"));
  }
}

TEST_F(CallbackReceiverTest, WhatAHostRepliesIsShownInOneLine) {
  const std::string path = (session_.path() / "socket").string();
  const detail::CallbackServer server(*detail::listenForCallbacks(path), [](const auto&, const auto& reply) {
    reply->send("red\x1B[31m\n\xFF\u202E" + std::string(9000, '.'));
  });
  const auto handed = CallbackReceiver::handOver(path, urlOf("a:b"));
  EXPECT_TRUE(handed.error().message.starts_with("red\\u001b[31m\\u000a\uFFFD\\u202e...."));
  EXPECT_LT(handed.error().message.size(), 4200U);
}

TEST_F(CallbackReceiverTest, RemovesNoSocketButItsOwn) {
  const auto before = fs::current_path();
  for (const bool receives : {false, true}) {
    for (const bool moves : {false, true}) {
      const auto first = session_.path() / "first";
      const auto second = moves ? session_.path() / "second" : first;
      fs::create_directories(first);
      fs::create_directories(second);
      fs::current_path(first);
      auto ended = *CallbackReceiver::listenAt("socket");
      if (receives) ended->receive(loop_, [](const URL&) {});
      if (!moves) fs::remove("socket");
      fs::current_path(second);
      const auto other = *CallbackReceiver::listenAt("socket");
      ended.reset();
      EXPECT_TRUE(fs::is_socket(second / "socket"));
      EXPECT_EQ(fs::exists(first / "socket"), !moves);
    }
  }
  fs::current_path(before);
}

TEST_F(CallbackReceiverTest, AForkedChildHasNoPartInIt) {
  for (const bool receives : {false, true}) {
    auto receiver = *CallbackReceiver::claim(name, std::nullopt);
    if (receives) receiver->receive(loop_, [this](const URL& one) { note(one); });
    const pid_t child = ::fork();
    if (child == 0) {
      receiver.reset();
      ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(fs::is_socket(socketPath()));
    if (!receives) {
      EXPECT_EXIT(receiver->receive(loop_, nullptr), testing::KilledBySignal(SIGABRT),
                  "claim it after a fork");
      continue;
    }
    const JoinedThread sender([&] { EXPECT_EQ(replyTo("myshop://done"), "ok"); });
    waitFor(1);
  }
}

TEST_F(CallbackReceiverTest, AKilledHostLeavesItsNameFreeWhateverItsChildrenDo) {
  int pipes[2];
  ASSERT_EQ(::pipe(pipes), 0);
  const pid_t host = ::fork();
  if (host == 0) {
    const auto receiver = CallbackReceiver::claim(name, std::nullopt);
    const pid_t child = ::fork();
    if (child == 0) ::_exit(::pause());
    const bool isClaimed = receiver && *receiver;
    ::_exit(isClaimed && ::write(pipes[1], &child, sizeof child) == sizeof child && ::pause() == 0 ? 0 : 1);
  }
  ::close(pipes[1]);
  pid_t child = 0;
  ASSERT_EQ(::read(pipes[0], &child, sizeof child), static_cast<ssize_t>(sizeof child));
  ::close(pipes[0]);
  EXPECT_EQ(*CallbackReceiver::claim(name, std::nullopt), nullptr);
  ::kill(host, SIGKILL);
  ::waitpid(host, nullptr, 0);
  EXPECT_TRUE(fs::is_socket(socketPath()));
  const auto receiver = claimed(urlOf("myshop://done?first"));
  {
    const JoinedThread later(
        [] { EXPECT_EQ(*CallbackReceiver::claim(name, urlOf("myshop://done?later")), nullptr); });
    if (receiver) waitFor(2);
  }
  ::kill(child, SIGKILL);
  EXPECT_EQ(received_.size(), 2U);
}

}  // namespace
