#include <atomic>
#include <thread>

#include <tilvanego/platform/MainQueueAdapter.h>
#include <tilvanego/platform/RunLoop.h>

#include "tests/support/Test.h"
#include "tests/support/Threads.h"

using tilvanego::MainQueueAdapter;
using tilvanego::RunLoop;
using tilvanego::WeakMainQueue;

TEST(RunLoop, RunsBlocksLaterInTheOrderOfPostingEachReleasedBeforeTheNext) {
  RunLoop loop;
  std::vector<int> ran;
  auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> watched = held;
  loop.post([&, held = std::move(held)] {
    loop.post([&] { ran.push_back(3); });
    ran.push_back(1);
  });
  loop.post([&] {
    EXPECT_TRUE(watched.expired());
    ran.push_back(2);
  });
  EXPECT_TRUE(ran.empty());
  EXPECT_EQ(loop.runPending(), 3U) << "what a block posts runs in the same drain";
  EXPECT_EQ(ran, (std::vector{1, 2, 3}));
  EXPECT_EQ(loop.runPending(), 0U);
}

TEST(RunLoop, KeepsTheOrderOfEachPostingThreadAndLosesNothing) {
  constexpr int threads = 4;
  constexpr int posts = 500;
  RunLoop loop;
  std::vector<int> next(threads, 0);
  bool inOrder = true;
  int left = threads * posts;
  const auto post = [&](int thread) {
    for (int number = 0; number < posts; ++number) {
      loop.post([&, thread, number] {
        inOrder = inOrder && next.at(static_cast<std::size_t>(thread))++ == number;
        if (--left == 0) loop.stop();
      });
    }
  };
  tilvanego::test::inThreads(threads, post, [&] { loop.run(); });
  EXPECT_TRUE(inOrder);
  EXPECT_EQ(left, 0);
}

TEST(RunLoop, AStopFromAnotherThreadEndsARunThatWaits) {
  RunLoop loop;
  bool ran = false;
  std::thread other([&] {
    loop.post([&] { ran = true; });
    loop.post([&] { std::thread([&] { loop.stop(); }).join(); });
  });
  loop.run();
  other.join();
  EXPECT_TRUE(ran);
}

TEST(RunLoop, AStopLeavesTheRestQueuedAndCountsForOneRun) {
  RunLoop loop;
  int ran = 0;
  loop.post([&] {
    ++ran;
    loop.stop();
  });
  loop.post([&] { ++ran; });
  loop.run();
  EXPECT_EQ(ran, 1);
  loop.stop();
  loop.run();
  EXPECT_EQ(ran, 1) << "a stop without a run ends the next one at once";
  EXPECT_EQ(loop.runPending(), 1U);
  EXPECT_EQ(ran, 2);
}

TEST(RunLoop, AnInnerRunGoesOnWithTheNextBlockAndStopsAlone) {
  RunLoop loop;
  std::vector<int> ran;
  loop.post([&] {
    loop.run();
    ran.push_back(2);
  });
  loop.post([&] {
    ran.push_back(1);
    loop.stop();
  });
  loop.post([&] {
    ran.push_back(3);
    loop.stop();
  });
  loop.run();
  EXPECT_EQ(ran, (std::vector{1, 2, 3}));
}

TEST(RunLoop, WhatABlockThrowsLeavesTheDrainAndTheLoopGoesOn) {
  RunLoop loop;
  int ran = 0;
  loop.post([] { throw std::runtime_error("from a block"); });
  loop.post([&] {
    ++ran;
    loop.stop();
  });
  EXPECT_THROW(loop.run(), std::runtime_error);
  loop.run();
  EXPECT_EQ(ran, 1);
  loop.post([] { throw std::runtime_error("from a block"); });
  EXPECT_THROW(loop.runPending(), std::runtime_error);
  EXPECT_EQ(loop.runPending(), 0U);
}

TEST(RunLoop, WhatADroppedBlockOrWakeUpCapturedMayPostAsItEnds) {
  int ended = 0;
  {
    RunLoop loop;
    const auto postsAtItsEnd = [&] {
      return std::shared_ptr<void>(nullptr, [&](void*) {
        ++ended;
        for (int blocks = 0; blocks < 100; ++blocks) loop.post([] { FAIL() << "the loop is ending"; });
      });
    };
    for (int blocks = 0; blocks < 10; ++blocks) loop.post([held = postsAtItsEnd()] {});
    loop.setWakeUp([held = postsAtItsEnd()] {});
  }
  EXPECT_EQ(ended, 11);
  RunLoop loop;
  loop.setWakeUp([held = std::shared_ptr<void>(nullptr, [&](void*) { loop.post([&] { ++ended; }); })] {});
  loop.setWakeUp(nullptr);
  EXPECT_EQ(loop.runPending(), 1U) << "posted by the end of a replaced function";
}

TEST(RunLoop, AWakeUpThatThrowsOnlyListened) {
  RunLoop loop;
  loop.setWakeUp([] { throw std::runtime_error("from a wake-up"); });
  EXPECT_NO_THROW(loop.post([] {}));
  EXPECT_EQ(loop.runPending(), 1U);
}

TEST(RunLoopDeathTest, AnEmptyBlockEndsTheProcessWithAMessage) {
  EXPECT_DEATH(RunLoop().post(nullptr), "RunLoop::post was given an empty block");
}

TEST(RunLoop, EndsEveryDrainWhenABlockDestroysIt) {
  auto owned = std::make_unique<RunLoop>();
  RunLoop& loop = *owned;
  std::string order;
  loop.post([&] {
    loop.post([&] { owned.reset(); });
    loop.post([] { ADD_FAILURE() << "a block of a loop that is gone"; });
    loop.runPending();
    order += " outer";
  });
  loop.post([&] { order += "inner"; });
  loop.run();
  EXPECT_EQ(order, "inner outer");
}

TEST(RunLoop, TheMainThreadIsTheMakerUntilAnotherThreadDrains) {
  RunLoop loop;
  EXPECT_TRUE(loop.isCurrent());
  bool currentBeforeDrain = true;
  bool currentInBlock = false;
  std::thread([&] {
    currentBeforeDrain = loop.isCurrent();
    loop.post([&] { currentInBlock = loop.isCurrent(); });
    loop.runPending();
  }).join();
  EXPECT_FALSE(currentBeforeDrain);
  EXPECT_TRUE(currentInBlock);
  EXPECT_FALSE(loop.isCurrent());
}

TEST(RunLoop, TheWakeUpToldOfEachPostAndOfWhatWaitsAlready) {
  RunLoop loop;
  int calls = 0;
  loop.post([] {});
  loop.setWakeUp([&] { ++calls; });
  EXPECT_EQ(calls, 1);
  loop.post([] {});
  EXPECT_EQ(calls, 2);
  loop.runPending();
  loop.setWakeUp([&] { calls = -1; });
  EXPECT_EQ(calls, 2) << "nothing waits";
  loop.setWakeUp(nullptr);
  loop.post([] {});
  EXPECT_EQ(calls, 2);
}

TEST(RunLoopDeathTest, TwoThreadsThatDrainAtOnceEndTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        RunLoop loop;
        loop.post([&] { std::thread([&] { loop.runPending(); }).join(); });
        loop.runPending();
      },
      "drained by two threads");
}

TEST(MainQueueAdapter, HandsBlocksToTheHostsLoopAndLetsNobodyInByAWeakReferenceOnceItHasEnded) {
  int ran = 0;
  bool current = true;
  std::optional<MainQueueAdapter> queue(
      std::in_place, [](const std::function<void()>& block) { block(); }, [&] { return current; });
  const WeakMainQueue weak(*queue);
  EXPECT_TRUE(weak.post([&] { ++ran; }));
  EXPECT_TRUE(weak.isCurrent());
  current = false;
  EXPECT_FALSE(weak.isCurrent());
  queue.reset();
  auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> watched = held;
  EXPECT_FALSE(weak.post([held = std::move(held)] { FAIL(); }));
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(ran, 1);
  EXPECT_TRUE(weak.isCurrent()) << "on the thread that ended it";
  std::thread([&] { EXPECT_FALSE(weak.isCurrent()); }).join();
}

TEST(MainQueue, EndsOnlyOnceNobodyPostsAnyMore) {
  // Each post takes as long as the other thread needs to find the end under way, or not yet.
  for (int round = 0; round < 40; ++round) {
    auto posted = std::make_unique<std::vector<int>>();
    std::optional<MainQueueAdapter> queue(
        std::in_place, [&](const std::function<void()>&) { posted->push_back(round); }, [] { return true; });
    std::atomic<bool> inside = false;
    std::thread poster([weak = WeakMainQueue(*queue), &inside] {
      while (weak.post([] {})) inside = true;
    });
    while (!inside) std::this_thread::yield();
    queue.reset();
    posted.reset();
    poster.join();
  }
}
