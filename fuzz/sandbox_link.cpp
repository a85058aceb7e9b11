// Any URL as a launch link. It is refused with a reason, or it can be shown on a terminal, and the host reads
// each outcome from the response.

#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/sandbox/Response.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;
using namespace tilvanego::sandbox;

/// The result of a payment for an outcome, if the host's URL has no status.
std::string_view resultName(Outcome outcome) {
  switch (outcome) {
    case Outcome::approve:
      return "success";
    case Outcome::decline:
      return "declined";
    case Outcome::cancel:
      return "cancelled";
    default:
      return "failure";
  }
}

void checkResponse(const LaunchLink& link, Outcome outcome) {
  const auto callback = respond(link, outcome);
  if (!callback || !*callback) return;
  require(detail::callbackURLsMatch(**callback, link.callbackURL()));
  if (link.operation() != Operation::payment || link.callbackURL().encodedQuery()) return;
  const auto result = TilvaneGo::parsePaymentResult(**callback, link.requestId(), link.callbackURL());
  require(result && result->name() == resultName(outcome));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto url = URL::parse(textOf(data, size));
  if (!url) return 0;
  const auto link = LaunchLink::read(*url);
  if (!link) {
    require(!link.error().message.empty());
    return 0;
  }
  require(link->callbackURL().scheme().has_value());
  for (const std::string& line : link->lines()) {
    for (const char c : line) require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
  }
  for (const Outcome outcome : allCases<Outcome>()) checkResponse(*link, outcome);
  return 0;
}
