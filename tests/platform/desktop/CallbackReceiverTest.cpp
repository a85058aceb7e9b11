#include <atomic>
#include <csignal>
#include <cstdlib>
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

TEST_F(CallbackReceiverTest, AKilledHostLeavesItsNameFree) {
  int pipes[2];
  ASSERT_EQ(::pipe(pipes), 0);
  const pid_t host = ::fork();
  if (host == 0) {
    const auto receiver = CallbackReceiver::claim(name, std::nullopt);
    const char told = receiver && *receiver ? 'y' : 'n';
    ::_exit(::write(pipes[1], &told, 1) == 1 && ::pause() == 0 ? 0 : 1);
  }
  char told = 'n';
  EXPECT_EQ(::read(pipes[0], &told, 1), 1);
  EXPECT_EQ(told, 'y');
  EXPECT_EQ(*CallbackReceiver::claim(name, std::nullopt), nullptr);
  ::kill(host, SIGKILL);
  ::waitpid(host, nullptr, 0);
  ::close(pipes[0]);
  ::close(pipes[1]);
  EXPECT_TRUE(fs::is_socket(socketPath()));
  const auto receiver = claimed(urlOf("myshop://done"));
  ASSERT_NE(receiver, nullptr);
  waitFor(1);
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
    EXPECT_EQ(later.error(), "The host at " + socketPath() + " ended before it took the URL.");
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

/// One connection of a peer that does anything: it may send a part, a whole or nothing, in pieces, half
/// close, close, or read no reply.
void misbehave(const std::string& path, std::mt19937& random) {
  const detail::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::ranges::copy(path, address.sun_path);
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return;
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

}  // namespace
