#pragma once

#include <thread>
#include <vector>

namespace tilvanego::test {

/// Runs `work` with each number below `count`, each on a thread of its own, and `meanwhile` on this one.
/// Returns when all have ended.
template <typename Work, typename Meanwhile>
void inThreads(int count, const Work& work, const Meanwhile& meanwhile) {
  std::vector<std::thread> threads;
  for (int number = 0; number < count; ++number) threads.emplace_back([&work, number] { work(number); });
  meanwhile();
  for (std::thread& thread : threads) thread.join();
}
template <typename Work>
void inThreads(int count, const Work& work) {
  inThreads(count, work, [] {});
}

}  // namespace tilvanego::test
