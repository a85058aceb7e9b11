#include <iostream>

#include <tilvanego/TilvaneGo.h>

// Stands for a host: it knows the install tree alone.
int main() {
  const auto callback = tilvanego::URL::parse("myshop://payment-done?request_id=A-1001&status=approved");
  const auto result = tilvanego::TilvaneGo::parsePaymentResult(callback.value(), "A-1001");
  std::cout << (result ? "understood\n" : "not understood\n");
  return result ? 0 : 1;
}
