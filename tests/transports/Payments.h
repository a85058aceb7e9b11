#pragma once

#include <initializer_list>

#include <tilvanego/frame/QueryLookup.h>
#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/HandoffEnvelope.h>
#include <tilvanego/transports/PaymentPasteboardHandoff.h>
#include <tilvanego/values/URLComponents.h>

#include "tests/support/Test.h"
#include "tests/support/TestHost.h"

/// What the transports' tests share: a payment, its completion in words, and the payment application's side.
namespace tilvanego::test {

inline constexpr std::string_view token = "s3cret-t0ken";
inline const Date startOfTest = Date::fromSecondsSince1970(1'700'000'000.25);

inline PaymentRequest::Fields paymentFields() {
  return {.requestId = "A-1",
          .amount = Decimal::parse("12.50").value(),
          .tip = Decimal::parse("0.10"),
          .currency = "EUR",
          .callbackURL = URL::parse("myshop://done").value(),
          .customId = "c",
          .notes = "n",
          .credentials = PaymentCredentials(
              {.basicToken = std::string(token), .accountId = "acc", .environment = "PROD"})};
}

/// Notes "success", or "failure NAME" and a "+" if there is a response.
inline TilvaneGo::PaymentCompletion noteResult(TestHost& host) {
  return [&host](const PaymentResult& result) {
    std::string text(result.name());
    if (const auto* failure = std::get_if<PaymentResult::Failure>(&result)) {
      text += " " + std::string(failure->error.name()) + (failure->response ? " +" : "");
    }
    host.note(text);
  };
}

/// A host whose clock stands still and whose payment is pending; its events so far are taken.
class PendingPayment : public TestHost {
 public:
  explicit PendingPayment(PaymentRequest::Fields fields = paymentFields()) {
    clock->stopAt(startOfTest);
    sdk->startPayment(PaymentRequest(std::move(fields)), noteResult(*this));
    takeEvents();
  }

  /// What a callback comes to: the completion's note, or "unhandled".
  std::string handle(const std::string& callback) {
    const bool handled = sdk->handleCallback(URL::parse(callback).value());
    const auto caused = takeEvents();
    return handled && caused.size() == 1 ? caused[0] : "unhandled";
  }
};

/// A map as the payment application would send it.
inline detail::ResultQueryItems resultItems(
    std::initializer_list<std::pair<const std::string, std::string>> items = {{"status", "approved"},
                                                                              {"request_id", "A-1"}}) {
  return {items};
}

/// A callback with the items of a compressed payload, which `spoil` may change.
inline std::string compressedCallback(const detail::CompressedPayload& payload) {
  return "myshop://done?transport=gzip&encoding=gzip-json&payload=" + payload.text +
         "&payload_size=" + std::to_string(payload.jsonSize) +
         "&compressed_size=" + std::to_string(payload.compressedSize);
}

inline detail::PaymentURLPayloadEnvelope<detail::PaymentURLResultPayload> resultEnvelope() {
  return detail::makeURLPayloadEnvelope(detail::PaymentHandoffDirection::result, "A-1", startOfTest,
                                        detail::PaymentURLResultPayload{resultItems()});
}

/// Text that gzip can't make much smaller: six random bits a byte.
inline std::string noise(std::size_t size) {
  std::string text(size, ' ');
  std::uint32_t state = 7;
  for (char& c : text) {
    state = state * 1664525 + 1013904223;
    c = static_cast<char>('0' + (state >> 26));
  }
  return text;
}

/// The text that a launch link gives for an item; "(none)" without it.
inline std::string itemOf(const URL& link, std::string_view name) {
  return detail::queryValue(link, {name}).value_or("(none)");
}

}  // namespace tilvanego::test
