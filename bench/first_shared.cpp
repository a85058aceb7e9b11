// Prints how many microseconds the first call of TilvaneGo::shared() took in this process.
#include <chrono>
#include <iostream>

#include <tilvanego/TilvaneGo.h>

int main() {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  const auto& library = tilvanego::TilvaneGo::shared();
  const std::chrono::duration<double, std::micro> taken = Clock::now() - start;
  std::cout << taken.count() << '\n';
  return library.isPaymentInProgress() ? 1 : 0;
}
