#include <chrono>
#include <filesystem>

#include <unistd.h>

#include <tilvanego/platform/Platform.h>
#include <tilvanego/platform/StandardOutput.h>
#include <tilvanego/platform/SystemTimer.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/memory/ManualClock.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

using namespace tilvanego;

namespace {

// Each test sets it before what it looks at; nullptr unsets it.
void setRuntimeDirectory(const char* path) {
  constexpr const char* name = "XDG_RUNTIME_DIR";
  if (path) {
    setenv(name, path, 1);
  } else {
    unsetenv(name);
  }
}

std::filesystem::path chosenDirectory(const char* runtimeDirectory) {
  setRuntimeDirectory(runtimeDirectory);
  return PasteboardStore(nullptr).directory();
}

}  // namespace

TEST(StandardPlatform, WorksWithoutConfiguration) {
  const TemporaryDirectory runtime;
  setRuntimeDirectory(runtime.path().c_str());
  RunLoop loop;
  const auto platform = Platform::standard(loop);
  EXPECT_EQ(platform.mainQueue, &loop);
  EXPECT_EQ(Platform::standard().mainQueue, &RunLoop::main());

  EXPECT_TRUE(platform.pasteboard->setItems({{{"public.text", "shared"}}}));
  EXPECT_EQ(Platform::standard(loop).pasteboard->string(), "shared");

  std::array<std::uint8_t, 32> first{};
  std::array<std::uint8_t, 32> second{};
  EXPECT_TRUE(platform.randomSource->fill(first));
  EXPECT_TRUE(platform.randomSource->fill(second));
  EXPECT_NE(first, second);
  EXPECT_TRUE(platform.randomSource->fill({}));
}

TEST(StandardPlatform, OneCallGivesAClockOfTheHostsToThePasteboardToo) {
  const TemporaryDirectory runtime;
  setRuntimeDirectory(runtime.path().c_str());
  RunLoop loop;
  const auto clock = std::make_shared<ManualClock>(Date::fromSecondsSince1970(1000));
  auto platform = Platform::standard(loop, clock);
  EXPECT_EQ(platform.clock, clock);
  platform.clock.reset();  // The pasteboard shares it.
  const PasteboardOptions options{.localOnly = true, .expirationDate = Date::fromSecondsSince1970(1300)};
  EXPECT_TRUE(platform.pasteboard->setItems({{{"public.text", "x"}}}, options));
  EXPECT_EQ(platform.pasteboard->string(), "x") << "by the system's clock it is long gone";
  clock->stopAt(Date::fromSecondsSince1970(1301));
  EXPECT_EQ(platform.pasteboard->string(), std::nullopt);
}

TEST(SystemTimer, CallsEachBlockInItsTimeAndDropsTheRestAtItsEnd) {
  using std::chrono::milliseconds;
  RunLoop loop;
  const auto held = std::make_shared<int>();
  {
    SystemTimer timer;
    for (const milliseconds never : {milliseconds(std::chrono::hours(1)), milliseconds::max()}) {
      timer.after(never, [held] { FAIL() << "its time hasn't come"; });
    }
    std::vector<int> called;
    for (const milliseconds now : {milliseconds(0), milliseconds::min()}) {
      timer.after(now, [&] {
        loop.post([&, here = loop.isCurrent()] {
          called.push_back(here ? 1 : 0);
          if (called.size() == 2) loop.stop();
        });
        throw std::runtime_error("its timer goes on");
      });
    }
    loop.run();
    EXPECT_EQ(called, std::vector<int>(2, 0)) << "on a thread of its own";
  }
  EXPECT_EQ(held.use_count(), 1);
}

TEST(StandardOutput, WritesEachLineAsOneLiteral) {
  StandardOutput output;
  testing::internal::CaptureStdout();
  output.writeLine("a \"quoted\"\nsecond");
  output.writeLine("");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\"a \\\"quoted\\\"\\nsecond\"\n\"\"\n");
}

TEST(PasteboardLocation, IsTheConfiguredRuntimeDirectoryIfItIsTheUsersOwn) {
  const TemporaryDirectory runtime;
  EXPECT_EQ(chosenDirectory(runtime.path().c_str()), runtime.path() / "tilvanego");

  const auto fallback = chosenDirectory(nullptr);
  EXPECT_TRUE(fallback == "/tmp/tilvanego-" + std::to_string(geteuid()) ||
              fallback == "/run/user/" + std::to_string(geteuid()) + "/tilvanego");
  const auto linked = runtime.path() / "link";
  std::filesystem::create_symlink(runtime.path(), linked);
  const auto missing = runtime.path() / "missing";
  for (const char* refused : {"", "relative/directory", linked.c_str(), missing.c_str(), "/dev/null"}) {
    EXPECT_EQ(chosenDirectory(refused), fallback) << refused;
  }
}
