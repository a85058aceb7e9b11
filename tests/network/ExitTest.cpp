// Leaving the process while requests are under way.
#include <deque>
#include <filesystem>
#include <fstream>

#include <sys/types.h>

#include <tilvanego/platform/desktop/SpawnedProgram.h>

#include "tests/support/NginxServer.h"
#include "tests/support/Test.h"

using namespace tilvanego;
using namespace tilvanego::test;

namespace {

// TILVANEGO_EXITS=10000 for a long run, TILVANEGO_FIRST_EXIT=SEED to see one again.
int setting(const char* variable, int usual) {
  const char* configured = std::getenv(variable);
  return configured ? std::atoi(configured) : usual;
}

void addOption(const char* variable, const std::string& option) {
  const char* former = std::getenv(variable);
  setenv(variable, (std::string(former ? former : "") + ":" + option).c_str(), 1);
}

}  // namespace

TEST(Exit, IsCleanAtAnyMomentOfARequest) {
  const NginxServer nginx;
  std::ofstream(nginx.files() / "large") << std::string(4'000'000, 'l');
  const auto client = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "exiting_client";
  // The sanitizers would wait a second at each exit, and look for leaks in a forked child.
  addOption("TSAN_OPTIONS", "atexit_sleep_ms=0");
  addOption("ASAN_OPTIONS", "detect_leaks=0");
  const std::string servers[] = {nginx.secureURL(""), nginx.oldSecureURL(""), nginx.url("")};

  std::deque<std::pair<int, pid_t>> running;
  const auto endFirst = [&] {
    EXPECT_TRUE(detail::waitForSuccess(running.front().second)) << "seed " << running.front().first;
    running.pop_front();
  };
  const int first = setting("TILVANEGO_FIRST_EXIT", 0);
  const int end = first + setting("TILVANEGO_EXITS", 200);
  for (int seed = first; seed < end; ++seed) {
    const auto process = detail::spawnProgram({client.string(), servers[seed % 8 == 0 ? 2 : seed % 2],
                                               nginx.certificate().string(), std::to_string(seed)});
    ASSERT_TRUE(process);
    running.emplace_back(seed, *process);
    if (running.size() == 4) endFirst();
  }
  while (!running.empty()) endFirst();
}
