#include <cerrno>
#include <csignal>
#include <new>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <tilvanego/platform/MainQueueAdapter.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>
#include <tilvanego/platform/desktop/SpawnedProgram.h>
#include <tilvanego/values/URL.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

using namespace tilvanego;
namespace fs = std::filesystem;

namespace {

URL link(const std::string& text) { return URL::parse(text).value(); }

std::ptrdiff_t threads() {
  return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
}
// A sanitizer starts one of its own beside the program's first: that one is started here, and awaited to its
// end.
const std::ptrdiff_t threadsAtStart = [] {
  fs::path first;
  std::thread([&first] { first = "/proc/self/task/" + std::to_string(gettid()); }).join();
  while (fs::exists(first)) std::this_thread::yield();
  return threads();
}();

// Returns once every thread that waited for a program has ended.
void waitForThreads() {
  while (threads() > threadsAtStart) std::this_thread::yield();
}

// However slow the machine is, the tests' programs fail soon.
constexpr std::chrono::hours soon(1);

class SpawnedOpenerTest : public testing::Test {
 protected:
  // A program in the test's directory, which the program finds as $directory.
  std::string program(const std::string& name, const std::string& body) const {
    const auto path = temporary.path() / name;
    std::ofstream(path) << "#!/bin/sh\ndirectory='" << temporary.path().string() << "'\n" << body << '\n';
    fs::permissions(path, fs::perms::owner_all);
    return path;
  }

  bool openWith(std::vector<std::string> command, std::chrono::milliseconds failsWithin = soon) {
    SpawnedOpener opener(loop, std::move(command), failsWithin);
    bool result = false;
    opener.openURL(link("tilvanego://payment/v1/start?a=b%20c&d='"), [&](bool opened) {
      EXPECT_TRUE(loop.isCurrent());
      result = opened;
      loop.stop();
    });
    loop.run();
    return result;
  }

  const TemporaryDirectory temporary;
  RunLoop loop;
};

}  // namespace

TEST_F(SpawnedOpenerTest, ALinkIsOpenedIfTheProgramEndsWithStatusZero) {
  for (const auto& [body, opened] :
       {std::pair{"exit 0", true}, {"exit 1", false}, {"exit 127", false}, {"kill -KILL $$", false}}) {
    EXPECT_EQ(openWith({program("p", body)}), opened) << body;
    EXPECT_TRUE(openWith({program("p", body)}, {})) << body << ", when the payment may be under way";
  }
}

TEST_F(SpawnedOpenerTest, AProgramThatCannotBeStartedOpensNothing) {
  const auto plainFile = program("plain", "exit 0");
  fs::permissions(plainFile, fs::perms::owner_read);
  for (const auto& command : std::vector<std::vector<std::string>>{{temporary.path() / "missing"},
                                                                   {"tilvanego-no-such-program"},
                                                                   {plainFile},
                                                                   {temporary.path()},
                                                                   {""},
                                                                   {}}) {
    EXPECT_FALSE(openWith(command));
    EXPECT_FALSE(openWith(command, {}));
  }
}

TEST_F(SpawnedOpenerTest, TheLinkIsTheLastArgumentAndNothingReadsItAsAShellWould) {
  const auto path = program("p", R"(printf '%s\n' "$@" > "$directory/out")");
  EXPECT_TRUE(openWith({path, "--flag", "two words", "$HOME;`id`"}));
  EXPECT_EQ(contentOf(temporary.path() / "out"),
            "--flag\ntwo words\n$HOME;`id`\ntilvanego://payment/v1/start?a=b%20c&d='\n");
}

TEST_F(SpawnedOpenerTest, TheProgramInheritsNoDescriptor) {
  const auto held = temporary.path() / "held by the host";
  const int descriptor = open(held.c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_GE(descriptor, 0);
  const int high = fcntl(descriptor, F_DUPFD, 200);
  const auto path = program("p", R"(
input=$(readlink /proc/$$/fd/0)
output=$(readlink /proc/$$/fd/1)
error=$(readlink /proc/$$/fd/2)
echo "$input $output $error" > "$directory/out"
for fd in /proc/$$/fd/*; do readlink "$fd"; done > "$directory/all"
exit 0)");
  EXPECT_TRUE(openWith({path}));
  close(descriptor);
  close(high);
  EXPECT_EQ(contentOf(temporary.path() / "out"), "/dev/null /dev/null /dev/null\n");
  const auto all = contentOf(temporary.path() / "all");
  EXPECT_FALSE(all.empty());
  EXPECT_FALSE(all.contains("held by the host")) << all;
}

TEST_F(SpawnedOpenerTest, TheProgramStartsWithTheSignalsOfAFreshProcess) {
  const auto path = program("p", R"(sed -nE 's/^Sig(Blk|Ign):.//p' /proc/self/status > "$directory/out")");
  sigset_t blocked;
  sigset_t before;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  auto* const handler = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_TRUE(openWith({path}));
  sigset_t afterwards;
  pthread_sigmask(SIG_SETMASK, &before, &afterwards);
  (void)std::signal(SIGPIPE, handler);
  std::uint64_t blockedThere = 1;
  std::uint64_t ignoredThere = 1;
  std::ifstream(temporary.path() / "out") >> std::hex >> blockedThere >> ignoredThere;
  EXPECT_EQ(blockedThere, 0U);
  EXPECT_EQ(ignoredThere & 0x7FFF'FFFFU, 0U)
      << "the standard signals; the C library keeps two more to itself";
  EXPECT_EQ(sigismember(&afterwards, SIGTERM), 1) << "the host's own mask stays";
  EXPECT_EQ(sigismember(&afterwards, SIGINT), 0);
}

TEST_F(SpawnedOpenerTest, ManyAtOnceAreEachAnsweredOnceAndLeaveNoZombie) {
  constexpr int count = 40;
  SpawnedOpener opener(loop, {program("p", "case \"$1\" in *[02468]) exit 0;; *) exit 1;; esac")}, soon);
  std::map<int, std::vector<bool>> answers;
  int left = count;
  for (int number = 0; number < count; ++number) {
    opener.openURL(link("a:" + std::to_string(number)), [&, number](bool opened) {
      answers[number].push_back(opened);
      if (--left == 0) loop.stop();
    });
  }
  EXPECT_TRUE(answers.empty());
  loop.run();
  EXPECT_EQ(loop.runPending(), 0U);
  for (int number = 0; number < count; ++number) EXPECT_EQ(answers[number], std::vector{number % 2 == 0});
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(SpawnedOpenerTest, WhereTheHostIgnoresTheEndOfChildrenAStartedProgramCounts) {
  auto* const handler = std::signal(SIGCHLD, SIG_IGN);
  EXPECT_TRUE(openWith({program("p", "exit 1")}));
  EXPECT_FALSE(openWith({temporary.path() / "missing"}));
  (void)std::signal(SIGCHLD, handler);
}

TEST_F(SpawnedOpenerTest, DestroyedMeanwhileItDropsTheHandlerAndTheProgramGoesOn) {
  const auto gate = temporary.path() / "gate";
  const auto end = temporary.path() / "end";
  ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
  ASSERT_EQ(mkfifo(end.c_str(), 0600), 0);
  auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> watched = held;
  {
    SpawnedOpener opener(loop,
                         {program("p", R"(read line < "$directory/gate"; echo "$line" > "$directory/end")")});
    opener.openURL(link("a:b"), [held = std::move(held)](bool) { ADD_FAILURE() << "called after the end"; });
  }
  EXPECT_TRUE(watched.expired());
  std::ofstream(gate) << "still running\n";
  EXPECT_EQ(contentOf(end), "still running\n");
  loop.runPending();
}

TEST_F(SpawnedOpenerTest, DestroyedWithAnAnswerUnderWayItDropsTheHandler) {
  {
    SpawnedOpener opener(loop, {});
    opener.openURL(link("a:b"), [](bool) { ADD_FAILURE() << "called after the end"; });
  }
  EXPECT_EQ(loop.runPending(), 1U);
}

TEST_F(SpawnedOpenerTest, AHandlerMayOpenAnotherLinkOrEndTheOpener) {
  const auto path = program("p", "exit 0");
  auto opener = std::make_unique<SpawnedOpener>(loop, std::vector{path});
  opener->openURL(link("a:1"), [&](bool) {
    opener->openURL(link("a:2"), [&](bool opened) {
      EXPECT_TRUE(opened);
      opener.reset();
      loop.stop();
    });
  });
  loop.run();
  EXPECT_EQ(opener, nullptr);
}

TEST_F(SpawnedOpenerTest, AnEarlierLinkOfTheSameTargetCountsAsOpenedOnceANewerOneIsOpened) {
  // Each program fails, and the first three do so when they are told.
  SpawnedOpener opener(
      loop, {program("p", R"(case "$1" in *late*) read line < "$directory/${1##*[?]}";; esac; exit 1)")},
      soon);
  std::vector<std::string> answers;
  for (const std::string text :
       {"t://p/start?late1", "t://p/start?late2", "t://p/other?late3", "T://P/start?last"}) {
    ASSERT_EQ(mkfifo((temporary.path() / text.substr(text.find('?') + 1)).c_str(), 0600), 0);
    opener.openURL(link(text),
                   [&answers, text](bool opened) { answers.push_back(text + (opened ? " yes" : " no")); });
  }
  const auto next = [&] {
    for (const auto before = answers.size(); answers.size() == before;) loop.runPending();
    return answers.back();
  };
  EXPECT_EQ(next(), "T://P/start?last no") << "the newest is told what became of it";
  for (const auto& [gate, answer] : std::map<std::string, std::string>{{"late1", "t://p/start?late1 yes"},
                                                                       {"late2", "t://p/start?late2 yes"},
                                                                       {"late3", "t://p/other?late3 no"}}) {
    std::ofstream(temporary.path() / gate) << "fail\n";
    EXPECT_EQ(next(), answer);
  }
}

TEST_F(SpawnedOpenerTest, OpensLinksForAHostThatHasUsedUpItsDescriptors) {
  const auto path = program("p", "exit 0");
  // A sanitizer needs descriptors the first time that it looks at an object.
  ASSERT_TRUE(openWith({path}));
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit few{100, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &few);
  std::vector<int> used;
  for (int one = dup(0); one >= 0; one = dup(0)) used.push_back(one);
#ifdef __SANITIZE_ADDRESS__
  // It may look at a type again, by a pipe, since its memory for types is small.
  for (int needed = 2; needed > 0; --needed) {
    close(used.back());
    used.pop_back();
  }
#endif
  const bool opened = openWith({path});
  for (const int one : used) close(one);
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_GT(used.size(), 50U);
  EXPECT_TRUE(opened);
}

TEST_F(SpawnedOpenerTest, AMainQueueThatThrowsForAReportEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto path = program("p", "exit 0");
  for (const auto& command : {std::vector<std::string>{path}, std::vector<std::string>{}}) {
    EXPECT_DEATH(
        {
          MainQueueAdapter queue([](const std::function<void()>&) { throw std::bad_alloc(); },
                                 [] { return true; });
          SpawnedOpener opener(queue, command);
          opener.openURL(link("a:1"), [](bool) {});
          waitForThreads();
        },
        "MainQueue::post threw std::bad_alloc");
  }
}

TEST_F(SpawnedOpenerTest, WhatIsReportedAfterTheMainQueuesEndIsDropped) {
  const auto gate = temporary.path() / "gate";
  ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
  int posts = 0;
  std::optional<MainQueueAdapter> queue(
      std::in_place, [&](const std::function<void()>&) { ++posts; }, [] { return true; });
  // As the process's one instance of the library does, the opener lives on.
  SpawnedOpener opener(*queue, {program("p", R"(read line < "$directory/gate")")});
  opener.openURL(link("a:b"), [](bool) { ADD_FAILURE() << "called after the end"; });
  queue.reset();
  std::ofstream(gate) << "end\n";
  waitForThreads();
  EXPECT_EQ(posts, 0);
}

TEST(LeavingMain, IsCleanAtAnyMomentWithOpenersUnderWay) {
  const auto path = fs::read_symlink("/proc/self/exe").parent_path() / "leaving_main";
  for (int seed = 0; seed < 60; ++seed) {
    const auto process = detail::spawnProgram({path.string(), std::to_string(seed)});
    ASSERT_TRUE(process && detail::waitForSuccess(*process)) << "seed " << seed;
  }
}
