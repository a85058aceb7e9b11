// Any payment request. It makes a link with the same texts, or fails with a message. No debug line shows the
// token.

#include <tilvanego/values/Text.h>

#include "fuzz/Fuzzer.h"
#include "tests/support/TestHost.h"

namespace {

using namespace tilvanego;

/// Reads texts from the input. Each ends before the next 0xFF, a byte that UTF-8 doesn't have.
class Input {
 public:
  explicit Input(std::string_view rest) : rest_(rest) {}

  std::string text() {
    const std::size_t end = rest_.find('\xFF');
    std::string taken(rest_.substr(0, end));
    rest_ = end == std::string_view::npos ? std::string_view() : rest_.substr(end + 1);
    return taken;
  }

  std::optional<std::string> optionalText() {
    std::string taken = text();
    if (taken.starts_with('-')) return std::nullopt;
    return taken;
  }

 private:
  std::string_view rest_;
};

void requireItem(const URL& link, std::string_view name, const std::optional<std::string>& value) {
  if (value && !isValidUTF8(*value)) return;
  const auto items = link.queryItems().value();
  for (const auto& item : items) {
    if (item.name != name) continue;
    require(item.value == value);
    return;
  }
  require(!value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(textOf(data, size));
  const std::string requestId = input.text();
  const auto amount = Decimal::parse(input.text());
  const auto tip = input.optionalText();
  const auto callbackURL = URL::parse(input.text());
  if (!amount || !callbackURL) return 0;
  const PaymentRequest request(
      {.requestId = requestId,
       .amount = *amount,
       .tip = tip ? Decimal::parse(*tip) : std::nullopt,
       .currency = input.text(),
       .callbackURL = *callbackURL,
       .customId = input.optionalText(),
       .notes = input.optionalText(),
       .credentials =
           PaymentCredentials({.basicToken = "QsecretQ", .accountId = input.text(), .environment = "cert"})});

  test::TestHost host;
  bool refused = false;
  host.sdk->startPayment(request, [&](const PaymentResult&) { refused = true; });
  require(refused != host.sdk->isPaymentInProgress());
  if (!refused) {
    const URL& link = host.application->openedURLs().back();
    require(URL::parse(link.absoluteString()).value() == link);
    requireItem(link, "request_id", request.requestId());
    requireItem(link, "amount", request.amount().text());
    requireItem(link, "return_url", request.callbackURL().absoluteString());
    requireItem(link, "custom_id", request.customId());
    requireItem(link, "notes", request.notes());
    requireItem(link, "basic_token", "QsecretQ");
    host.sdk->cancelPendingPayment();
  }
  if (size < 4096 && textOf(data, size).find("QsecretQ") == std::string_view::npos) {
    for (const std::string& event : host.events) {
      require(event.starts_with("open ") || event.find("QsecretQ") == std::string::npos);
    }
  }
  return 0;
}
