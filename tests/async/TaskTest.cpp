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

}  // namespace
}  // namespace tilvanego::test
