#include <QCoreApplication>
#include <QEventLoop>
#include <chrono>
#include <thread>

#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/qt/QtClipboard.h>
#include <tilvanego/platform/qt/QtLinkOpener.h>
#include <tilvanego/platform/qt/QtMainQueue.h>
#include <tilvanego/platform/qt/QtTimer.h>
#include <tilvanego/values/URL.h>

#include "tests/support/Test.h"
#include "tests/support/Threads.h"

using namespace tilvanego;
using Events = std::vector<std::string>;

namespace {

// A host without windows.
struct Program {
  int count = 1;
  std::array<char, 5> name{"test"};
  std::array<char*, 2> words{name.data(), nullptr};
  QCoreApplication application{count, words.data()};

  static void run() { QCoreApplication::exec(); }
};

}  // namespace

TEST(QtMainQueue, RunsTheBlocksOfAllThreadsOnTheMainThreadAndThoseOfEachInOrder) {
  const Program program;
  QtMainQueue queue;
  constexpr int threads = 4;
  constexpr int blocks = 500;
  std::array<int, threads> last{};
  int run = 0;
  test::inThreads(
      threads,
      [&](int thread) {
        EXPECT_FALSE(queue.isCurrent());
        for (int block = 1; block <= blocks; ++block) {
          queue.post([&, thread, block] {
            EXPECT_TRUE(queue.isCurrent());
            EXPECT_EQ(std::exchange(last.at(static_cast<std::size_t>(thread)), block), block - 1);
            if (++run == threads * blocks) QCoreApplication::quit();
          });
        }
      },
      [&] { Program::run(); });
  EXPECT_EQ(run, threads * blocks);
}

TEST(QtMainQueue, GoesOnInALoopInsideABlockAsThatOfADialog) {
  const Program program;
  QtMainQueue queue;
  Events events;
  queue.post([&] {
    events.emplace_back("opened");
    QEventLoop dialog;
    queue.post([&] { dialog.quit(); });
    events.emplace_back("posted");
    dialog.exec();
    events.emplace_back("closed");
    QCoreApplication::quit();
  });
  queue.post([&] { events.emplace_back("next"); });
  Program::run();
  EXPECT_EQ(events, (Events{"opened", "posted", "next", "closed"}));
}

TEST(QtMainQueue, KeepsWhatWaitsForTheNextLoopAndEndsItWithItself) {
  const Program program;
  auto queue = std::make_unique<QtMainQueue>();
  const WeakMainQueue weak(*queue);
  Events events;
  queue->post([] { QCoreApplication::quit(); });
  Program::run();
  queue->post([&] {
    events.emplace_back("first");
    QCoreApplication::quit();
  });
  EXPECT_EQ(events, Events{});
  Program::run();
  EXPECT_EQ(events, Events{"first"});

  const auto ended = [&](const int* number) {
    delete number;
    events.emplace_back(weak.post([] {}) ? "posted" : "ended");
  };
  queue->post([captured = std::shared_ptr<int>(new int, ended)] {});
  queue.reset();
  EXPECT_EQ(events, (Events{"first", "ended"}));
}

TEST(QtMainQueueDeathTest, WrongUseAndABlockThatThrowsEndTheProcessWithALine) {
  EXPECT_DEATH(
      { QtMainQueue queue; },
      "TilvaneGo: a QtMainQueue is made after the QCoreApplication, on the same thread");
  EXPECT_DEATH(
      {
        const Program program;
        std::thread([] { QtTimer timer; }).join();
      },
      "a QtTimer is made after");
  EXPECT_DEATH(
      {
        const Program program;
        QtMainQueue queue;
        queue.post([] { throw std::runtime_error("secret"); });
        Program::run();
      },
      "A block of the main queue threw std::runtime_error; no exception may pass through Qt's event "
      "loop.\n$");
}

TEST(QtTimer, CallsOnceInALaterTurnAndDropsWhatWaitsAtItsEnd) {
  const Program program;
  const auto captured = std::make_shared<int>();
  bool returned = false;
  int called = 0;
  {
    QtTimer timer;
    // More milliseconds than an int holds.
    timer.after(std::chrono::days(30), [captured] { ADD_FAILURE() << "called 30 days too early"; });
    for (const int delay : {-5, 0, 1}) {
      timer.after(std::chrono::milliseconds(delay), [&] {
        EXPECT_TRUE(returned);
        if (++called == 3) QCoreApplication::quit();
      });
    }
    returned = true;
    Program::run();
  }
  EXPECT_EQ(called, 3);
  EXPECT_EQ(captured.use_count(), 1);
}

TEST(QtPlatform, WithoutAGuiApplicationThereIsNoClipboardAndNothingIsOpened) {
  const Program program;
  QtMainQueue queue;
  QtClipboard clipboard(std::make_shared<const SystemClock>());
  EXPECT_EQ(clipboard.setItems({{{"public.text", "text"}}}).error(),
            "There is no QGuiApplication, and so no clipboard.");
  EXPECT_EQ(clipboard.string(), std::nullopt);
  QtLinkOpener opener(queue);
  std::optional<bool> result;
  opener.openURL(URL::parse("tilvanego://payment/").value(), [&](bool opened) {
    result = opened;
    QCoreApplication::quit();
  });
  EXPECT_EQ(result, std::nullopt);
  Program::run();
  EXPECT_EQ(result, false);
}
