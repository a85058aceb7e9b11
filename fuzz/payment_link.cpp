// Any record: a link that reads back as the record's own texts, or a message; never the token in what is
// shown.

#include <tilvanego/values/Text.h>

#include "fuzz/Fuzzer.h"
#include "tests/support/TestHost.h"

namespace {

using namespace tilvanego;

// The texts of the input, each up to the next 0xFF, which stands in no UTF-8; one that is missing is empty.
std::array<std::string, 8> textsOf(std::string_view input) {
  std::array<std::string, 8> texts;
  for (std::string& text : texts) {
    const std::size_t end = std::min(input.find('\xFF'), input.size());
    text = input.substr(0, end);
    input.remove_prefix(std::min(end + 1, input.size()));
  }
  return texts;
}

std::optional<std::string> optional(const std::string& text) {
  return text.starts_with('-') ? std::nullopt : std::optional(text);
}

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
  const auto [requestId, amountText, tip, callback, currency, customId, notes, accountId] =
      textsOf(textOf(data, size));
  const auto amount = Decimal::parse(amountText);
  const auto callbackURL = URL::parse(callback);
  if (!amount || !callbackURL) return 0;
  const PaymentRequest request(
      {.requestId = requestId,
       .amount = *amount,
       .tip = optional(tip) ? Decimal::parse(tip) : std::nullopt,
       .currency = currency,
       .callbackURL = *callbackURL,
       .customId = optional(customId),
       .notes = optional(notes),
       .credentials =
           PaymentCredentials({.basicToken = "QsecretQ", .accountId = accountId, .environment = "cert"})});

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
