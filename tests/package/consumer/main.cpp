#include <tilvanego/values/URL.h>

#include <iostream>

// Stands for a host: it knows the install tree alone.
int main() {
  const auto url = tilvanego::URL::parse("myshop://payment-done?request_id=A-1001");
  if (!url) return 1;
  std::cout << url->absoluteString() << '\n';
}
