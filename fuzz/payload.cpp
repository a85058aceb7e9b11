// Any bytes as a compressed payload: as the text of a callback, and, since the fuzzer can't guess base64 and
// sizes, as the gzip stream or the JSON of a valid payload. The limits hold, and a pending payment receives
// the result that was read.

#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/Gzip.h>
#include <tilvanego/values/Base64.h>

#include "fuzz/Fuzzer.h"
#include "tests/support/TestHost.h"

namespace {

using namespace tilvanego;
using namespace tilvanego::detail;

constexpr std::string_view callback = "myshop://done";

std::string textWith(std::string_view payload, std::size_t jsonSize, std::size_t compressedSize) {
  return std::string(callback) + "?transport=gzip&encoding=gzip-json&payload=" + std::string(payload) +
         "&payload_size=" + std::to_string(jsonSize) + "&compressed_size=" + std::to_string(compressedSize);
}

void receive(const URL& url) {
  if (const auto json = payloadJSON(url)) require(json->size() <= maxPayloadJSON);

  const URL expected = URL::parse(callback).value();
  const auto result = compressedPaymentResult(url, expected, "A-1");
  test::TestHost host;
  int completions = 0;
  host.sdk->startPayment(
      PaymentRequest({.requestId = "A-1", .amount = 1, .currency = "EUR", .callbackURL = expected}),
      [&](const PaymentResult& heard) {
        ++completions;
        if (result) require(heard == *result);
      });
  require(host.sdk->handleCallback(url) == (completions == 1));
  if (result) require(completions == 1);
}

void receiveText(std::string_view text) {
  if (const auto url = URL::parse(text)) receive(*url);
}

void receiveStream(std::span<const std::uint8_t> stream) {
  const auto json = gzipDecompress(stream, maxPayloadJSON);
  require(!json || json->size() <= maxPayloadJSON);
  receiveText(textWith(base64URLEncode(stream), json ? json->size() : 0, stream.size()));
}

/// A payload that can be sent reads as the same JSON.
void receiveJSON(std::string_view json) {
  const auto payload = compressPayloadJSON(json);
  if (!payload) return;
  require(payload->compressedSize <= maxPayloadGzip);
  const URL url = URL::parse(textWith(payload->text, payload->jsonSize, payload->compressedSize)).value();
  require(payloadJSON(url) == json);
  receive(url);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = textOf(data, size);
  receiveText(text);
  receiveStream({data, size});
  receiveJSON(text);
  return 0;
}
