// This library's HTTP client beside bare libcurl, cpp-httplib and, where the distribution has it, cpr, all
// against one nginx on the same core.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <sched.h>

#include "http_clients.h"
#include "tests/support/NginxServer.h"

namespace http_bench {

void ResponseCheck::operator()(const char* client, long status, const char* body, std::size_t size) {
  const bool right = status == work_.status && size == work_.download.size() &&
                     (seen_ || std::string_view(body, size) == work_.download);
  if (!right) {
    std::fprintf(stderr, "%s: status %ld with %zu bytes for %s\n", client, status, size, work_.url.c_str());
    anyWrong_ = true;
  }
  seen_ = true;
}

namespace {

constexpr std::size_t megabyte = std::size_t{1} << 20U;

// The core that this runs on now is everyone's: of nginx, of each client and its threads.
void stayOnOneCore() {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  CPU_SET(static_cast<std::size_t>(sched_getcpu()), &cores);
  (void)sched_setaffinity(0, sizeof cores, &cores);
}

std::string bytes(std::size_t size) {
  std::string result(size, '\0');
  unsigned state = 1;
  for (char& byte : result) byte = static_cast<char>((state = state * 1664525U + 1013904223U) >> 24U);
  return result;
}

// Kilobytes under this name in /proc/self/status.
double memory(std::string_view name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name)) return std::strtod(line.c_str() + name.size(), nullptr);
  }
  return 0;
}

using MakeClient = std::unique_ptr<Client> (*)(const Work&);

// Each client lives from its first run to the end, so its connections are there when the clock runs.
struct Subject {
  MakeClient make;
  Work work;
  std::size_t batch;
  std::size_t inFlight;
  std::shared_ptr<Client> client;
};

void run(benchmark::State& state, const std::shared_ptr<Subject>& subject) {
  if (!subject->client) {
    subject->client = subject->make(subject->work);
    subject->client->send(2 * subject->inFlight, subject->inFlight);
  }
  if (ResponseCheck::anyWrong()) return state.SkipWithError("a wrong answer");
  std::ofstream("/proc/self/clear_refs") << "5";
  const double before = memory("VmRSS:");
  while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(subject->batch))) {
    subject->client->send(subject->batch, subject->inFlight);
  }
  const auto size = subject->work.upload.size() + subject->work.download.size();
  if (size >= megabyte) {
    state.SetBytesProcessed(static_cast<std::int64_t>(size) * static_cast<std::int64_t>(state.iterations()));
    state.counters["peak_MB"] = (memory("VmHWM:") - before) / 1024;
  }
}

void add(const std::string& name, const Work& work, std::size_t batch, std::size_t inFlight) {
  struct Named {
    const char* name;
    MakeClient make;
  };
  for (const auto& [client, make] : {Named{"library", library},
                                     {"library_waiting", waitingLibrary},
                                     {"library_blocking", blockingLibrary},
                                     {"libcurl", bareCurl},
                                     {"libcurl_easy", easyCurl},
                                     {"cpp-httplib", cppHTTPLib},
                                     {"cpr", waitingCPR}}) {
    const bool oneAtATime =
        make == waitingLibrary || make == blockingLibrary || make == easyCurl || make == waitingCPR;
    if (oneAtATime && inFlight > 1) continue;
    if (make == waitingCPR && !make(work)) continue;
    const auto subject = std::make_shared<Subject>(Subject{make, work, batch, inFlight, {}});
    benchmark::RegisterBenchmark((name + "/" + client).c_str(),
                                 [subject](benchmark::State& state) { run(state, subject); })
        ->MeasureProcessCPUTime()
        ->UseRealTime()
        ->Unit(batch > 1 ? benchmark::kMicrosecond : benchmark::kMillisecond);
  }
}

double seconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// The blocking call and libcurl's, a hundred requests each in turns: what slows the machine down meets both.
// The counters are the medians of a turn's time over that of libcurl's turn beside it.
void runInTurns(benchmark::State& state, const Work& work, MakeClient makeLibrary, MakeClient makePeer) {
  const auto library = makeLibrary(work);
  const auto peer = makePeer(work);
  std::vector<double> elapsed, processor;
  const auto timed = [](Client& client) {
    const double wall = seconds(CLOCK_MONOTONIC);
    const double cpu = seconds(CLOCK_PROCESS_CPUTIME_ID);
    client.send(100, 1);
    return std::pair(seconds(CLOCK_MONOTONIC) - wall, seconds(CLOCK_PROCESS_CPUTIME_ID) - cpu);
  };
  timed(*library), timed(*peer);
  for (auto unused : state) {
    (void)unused;
    const bool first = elapsed.size() % 2 == 0;
    const auto before = first ? timed(*library) : timed(*peer);
    const auto after = first ? timed(*peer) : timed(*library);
    const auto& [ours, theirs] = first ? std::pair(before, after) : std::pair(after, before);
    elapsed.push_back(ours.first / theirs.first);
    processor.push_back(ours.second / theirs.second);
  }
  const auto median = [](std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
  };
  state.counters["elapsed_ratio"] = median(elapsed);
  state.counters["processor_ratio"] = median(processor);
  if (ResponseCheck::anyWrong()) state.SkipWithError("a wrong answer");
}

}  // namespace
}  // namespace http_bench

int main(int argumentCount, char** arguments) {
  using namespace http_bench;
  stayOnOneCore();
  const tilvanego::test::NginxServer server;
  const std::string small = bytes(2048);
  const std::string large = bytes(100 * megabyte);
  std::ofstream(server.files() / "small") << small;
  std::ofstream(server.files() / "large") << large;

  add("get_2KB/one_at_a_time", {"GET", server.url("/files/small"), {}, 200, small}, 4000, 1);
  add("get_2KB/64_at_once", {"GET", server.url("/files/small"), {}, 200, small}, 8000, 64);
  add("put_2KB/one_at_a_time", {"PUT", server.url("/sink"), small, 204, {}}, 4000, 1);
  for (const auto& [name, work] :
       {std::pair("get_2KB", Work{"GET", server.url("/files/small"), {}, 200, small}),
        std::pair("put_2KB", Work{"PUT", server.url("/sink"), small, 204, {}})}) {
    struct Pair {
      const char* name;
      MakeClient makeLibrary;
      MakeClient makePeer;
    };
    for (const auto& pair : {Pair{"libcurl", blockingLibrary, easyCurl},
                             {"without_cookies", cookielessLibrary, easyCurl},
                             {"keeping_libcurl", blockingLibrary, keepingCurl}}) {
      benchmark::RegisterBenchmark(
          (std::string(name) + "/blocking_in_turns/" + pair.name).c_str(),
          [work, pair](benchmark::State& state) { runInTurns(state, work, pair.makeLibrary, pair.makePeer); })
          ->UseRealTime()
          ->Unit(benchmark::kMillisecond);
    }
  }
  add("get_100MB", {"GET", server.url("/files/large"), {}, 200, large}, 1, 1);
  add("put_100MB", {"PUT", server.url("/sink"), large, 204, {}}, 1, 1);

  benchmark::Initialize(&argumentCount, arguments);
  if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return ResponseCheck::anyWrong() ? 1 : 0;
}
