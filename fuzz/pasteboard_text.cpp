// Any text on the pasteboard when a callback names a result there. The payment completes at most once, with a
// result. Only an envelope of this handoff is removed; other contents stay unchanged.
//
// The first byte chooses the place of the text, and whether it is the JSON of an envelope or the plaintext of
// a sealed result of this payment.

#include <tilvanego/json/JSON.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/transports/HandoffEnvelope.h>

#include "fuzz/Fuzzer.h"
#include "tests/support/TestHost.h"

namespace {

using namespace tilvanego;
using namespace tilvanego::detail;

const Date now = Date::fromSecondsSince1970(1'795'261'010);
constexpr std::string_view handoffId = "kqjHsSdNnQ0oVxXn2cSdwv3lX1mXo9fX4z0y5w6v7u8";

std::string sealedResult(std::string_view plaintext) {
  OpenSSLRandomSource random;
  const auto envelope =
      sealPlaintext(plaintext, PaymentHandoffDirection::result, handoffId, "A-1", now, random).value();
  return json::encode(envelope, envelopeFormat).value();
}

std::vector<PasteboardItem> itemsWith(std::uint8_t where, const std::string& text) {
  PasteboardItem item;
  switch (where % 4) {
    case 0:
      item.emplace("public.utf8-plain-text", text);
      break;
    case 1:
      item.emplace("public.plain-text", Bytes(text.begin(), text.end()));
      break;
    case 2:
      item.emplace("com.example.notes", text);
      item.emplace("public.png", Bytes{0xFF, 0xD8});
      break;
    default:
      item.emplace("public.text", std::string());
      item.emplace("zz.bytes", Bytes(text.begin(), text.end()));
  }
  std::vector<PasteboardItem> items;
  items.push_back(std::move(item));
  return items;
}

bool isOfThisHandoff(std::string_view text) {
  const auto envelope = json::decode<PaymentHandoffEnvelope>(text);
  return envelope && envelope->namespace_ == PaymentHandoffEnvelope::expectedNamespace &&
         envelope->handoffId == handoffId;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  const bool sealed = (data[0] & 0x80) != 0;
  const std::string text = sealed ? sealedResult(rest) : std::string(rest);

  const URL callback = URL::parse("myshop://done").value();
  test::TestHost host;
  host.clock->stopAt(now);
  int completions = 0;
  bool missing = false;
  host.sdk->startPayment(
      PaymentRequest({.requestId = "A-1", .amount = 1, .currency = "EUR", .callbackURL = callback}),
      PaymentLaunchTransport::pasteboard(), [&](const PaymentResult& result) {
        ++completions;
        missing = result == PaymentResult(PaymentResult::Failure{PaymentError::PasteboardHandoffMissing{},
                                                                 std::nullopt});
      });
  host.pasteboard->place(itemsWith(data[0], text));
  const auto before = host.pasteboard->contents();

  const URL resultURL =
      URL::parse("myshop://done?transport=pasteboard&resultHandoffId=" + std::string(handoffId) +
                 "&request_id=A-1")
          .value();
  const bool finished = host.sdk->handleCallback(resultURL);
  require(completions == (finished ? 1 : 0));
  if (sealed) require(!missing);
  if (host.pasteboard->contents() != before) {
    require(host.pasteboard->contents().items.empty());
    require(isOfThisHandoff(text));
  }
  return 0;
}
