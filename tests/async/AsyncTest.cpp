#include <atomic>
#include <thread>

#include <tilvanego/async/StopToken.h>
#include <tilvanego/async/Task.h>

#include "tests/support/Test.h"

namespace tilvanego::test {
namespace {

Task<int> twice(Task<int> task) {
  const int value = co_await std::move(task);
  co_return 2 * value;
}

Task<int> constant(int value) { co_return value; }

Task<void> failing() {
  throw std::runtime_error("expected");
  co_return;
}

TEST(Task, WaitGivesTheResultOrThrows) {
  EXPECT_EQ(twice(constant(21)).wait(), 42);
  EXPECT_THROW(failing().wait(), std::runtime_error);
}

TEST(StopToken, CallsBackOnceWhoeverCameFirst) {
  const StopSource source;
  int calls = 0;
  const StopCallback early(source.token(), [&] { ++calls; });
  {
    const StopCallback gone(source.token(), [&] { calls += 100; });
  }
  EXPECT_FALSE(source.token().stopRequested());
  EXPECT_TRUE(source.requestStop());
  EXPECT_FALSE(source.requestStop());
  EXPECT_EQ(calls, 1);
  const StopCallback late(source.token(), [&] { calls += 10; });
  EXPECT_EQ(calls, 11);
  EXPECT_FALSE(StopToken().stopRequested());
}

TEST(StopToken, ACallbackMayEndItselfAndTheSource) {
  std::optional<StopSource> source(std::in_place);
  const StopToken token = source->token();
  std::optional<StopCallback> callback;
  bool called = false;
  callback.emplace(token, [&] {
    callback.reset();
    source.reset();
    called = true;
  });
  source->requestStop();
  EXPECT_TRUE(called && !callback);
}

TEST(StopToken, TheEndOfACallbackWaitsForItsRunOnAnotherThread) {
  const StopSource source;
  std::atomic<bool> entered = false, goOn = false;
  bool ran = false;
  std::optional<StopCallback> callback;
  callback.emplace(source.token(), [&] {
    entered = true;
    while (!goOn) std::this_thread::yield();
    ran = true;
  });
  std::thread stopper([&] { source.requestStop(); });
  while (!entered) std::this_thread::yield();
  std::thread releaser([&] { goOn = true; });
  callback.reset();
  EXPECT_TRUE(ran);
  stopper.join();
  releaser.join();
}

}  // namespace
}  // namespace tilvanego::test
