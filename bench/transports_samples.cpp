#include "transports_samples.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string_view>

namespace tilvanego::bench {

std::string notes(std::size_t length) {
  constexpr std::array<std::string_view, 16> words{
      "table", "coffee", "croissant", "guests",   "voucher", "to go", "without sugar", "receipt",
      "order", "paid",   "discount",  "terminal", "split",   "tip",   "birthday",      "window seat"};
  std::minstd_rand random(1);
  std::string text;
  while (text.size() < length) {
    text += words[random() % words.size()];
    text += random() % 4 == 0 ? " no. " + std::to_string(random() % 100'000) + "; " : " ";
  }
  text.resize(length);
  return text;
}

std::string randomText(std::size_t length) {
  constexpr std::string_view characters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-.";
  std::minstd_rand random(2);
  std::string text(length, ' ');
  for (char& character : text) character = characters[(random() >> 8) % characters.size()];
  return text;
}

PaymentRequest paymentRequest(std::string notes) {
  return PaymentRequest({.requestId = "3f0e7c1a-58d2-4f6e-9d31-0a7b6c2e9f44",
                         .amount = Decimal::parse("1284.5").value(),
                         .tip = Decimal::parse("12.25").value(),
                         .currency = "EUR",
                         .callbackURL = URL::parse("myshop://payment-done/receipt").value(),
                         .customId = "till-07/order-20261121-0042",
                         .notes = std::move(notes),
                         .credentials = PaymentCredentials({.basicToken = "dGlsdmFuZTpyZWhlYXJzYWw=",
                                                            .accountId = "ACC-00012345",
                                                            .environment = "STAGING"})});
}

detail::ResultQueryItems resultItems(std::size_t noteLength) {
  return {{"request_id", "3f0e7c1a-58d2-4f6e-9d31-0a7b6c2e9f44"},
          {"status", "approved"},
          {"approval_code", "0A71C9"},
          {"transaction_id", "TX-2026-11-21-000000018734"},
          {"processor_message", "Approved and completed successfully"},
          {"custom_id", "till-07/order-20261121-0042"},
          {"notes", notes(noteLength)}};
}

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "transports_bench: %s\n", what);
  std::exit(1);
}

}  // namespace tilvanego::bench
