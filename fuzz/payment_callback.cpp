// Any bytes as a callback. The result is the same, or is none in both cases, whether a running payment
// receives the callback or it is parsed alone.

#include "fuzz/Fuzzer.h"
#include "tests/support/TestHost.h"

using namespace tilvanego;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const URL expected = URL::parse("myshop://done").value();
  const std::string_view text = textOf(data, size);
  const auto url = URL::parse(text);
  if (!url) {
    require(url.error().offset <= size && !url.error().message.empty());
    return 0;
  }
  const auto mine = TilvaneGo::parsePaymentResult(*url, "A-1", expected);
  const auto anyones = TilvaneGo::parsePaymentResult(*url);
  require(anyones.has_value());
  if (mine && mine->response()) require(mine->response() == anyones->response());

  test::TestHost host;
  int completions = 0;
  host.sdk->startPayment(
      PaymentRequest({.requestId = "A-1", .amount = 1, .currency = "EUR", .callbackURL = expected}),
      [&](const PaymentResult& result) {
        ++completions;
        require(result == *mine);
      });
  require(host.sdk->handleCallback(*url) == mine.has_value());
  require(completions == (mine ? 1 : 0));
  return 0;
}
