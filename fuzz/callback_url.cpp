#include <tilvanego/frame/CallbackURLs.h>
#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/URLComponents.h>

#include "fuzz/Fuzzer.h"
#include "tests/support/TestHost.h"

// Any bytes as a callback URL. What parses must read back the same by every way there is, and is a result or
// "not mine": the same through a running payment and on its own.
namespace {

using namespace tilvanego;

bool sameComponents(const URL& a, const URL& b) {
  return a == b && a.scheme() == b.scheme() && a.user() == b.user() && a.password() == b.password() &&
         a.writtenHost() == b.writtenHost() && a.host() == b.host() && a.encodedHost() == b.encodedHost() &&
         a.port() == b.port() && a.encodedPath() == b.encodedPath() && a.path() == b.path() &&
         a.encodedQuery() == b.encodedQuery() && a.queryItems() == b.queryItems() &&
         a.encodedFragment() == b.encodedFragment() && a.fragment() == b.fragment();
}

void checkReadsBack(const URL& url, std::string_view input) {
  const std::string& text = url.absoluteString();
  require(std::ranges::all_of(text, [](char byte) { return byte > ' ' && byte < 0x7F; }),
          "a URL is printable ASCII");
  const auto again = URL::parse(text);
  require(again && sameComponents(url, *again), "a URL's text is that URL");
  const auto owned = URL::parse(std::string(input));
  require(owned && sameComponents(url, *owned), "a text that is given away makes the same URL");
}

void checkItems(const URL& url) {
  const auto items = url.queryItems();
  require(items.has_value() == url.encodedQuery().has_value(), "a query has items, even none");
  std::size_t index = 0;
  for (const RawQueryItem& raw : url.rawQueryItems()) {
    require(items && index < items->size(), "no more raw items than decoded ones");
    const QueryItem& item = (*items)[index++];
    require(raw.decodedName() == item.name && raw.value.decoded() == item.value,
            "raw and decoded items agree");
  }
  require(index == items.value_or(std::vector<QueryItem>{}).size(), "no fewer raw items than decoded ones");
}

/// Items are the same after they are written and read again, unless their escapes are no UTF-8.
void checkWriting(const URL& url) {
  const std::vector<QueryItem> items = url.queryItems().value_or(std::vector<QueryItem>{});
  const auto replaced = url.replacingQueryItems(items);
  const auto again = replaced ? URL::parse(replaced->absoluteString()) : std::unexpected(URLError{});
  require(again && sameComponents(*replaced, *again), "a URL with other items is a URL");
  // A single item without name and value is written like no items.
  const bool lone = items == std::vector<QueryItem>{{"", std::nullopt}};
  require(lone || again->queryItems() == items, "items that are put into a URL are read from it");
}

void checkComparison(const URL& url) {
  require(detail::callbackURLsMatch(url, url), "a URL matches itself");
  const auto scheme = url.scheme();
  const URLComponents components{scheme ? std::optional<std::string>(*scheme) : std::nullopt, url.host(),
                                 url.path(), std::vector<QueryItem>{{"status", "approved"}}};
  const auto rebuilt = components.url();
  // An escaped host may hold characters that IDNA maps to others.
  if (!rebuilt || url.writtenHost().value_or("").contains('%')) return;
  require(detail::callbackURLsMatch(url, *rebuilt), "scheme, host and path survive new components");
}

void checkResult(const URL& url) {
  static const URL expected = URL::parse("myshop://done").value();
  const auto mine = TilvaneGo::parsePaymentResult(url, "A-1", expected);
  const auto anyones = TilvaneGo::parsePaymentResult(url);
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
  const auto explanation = host.sdk->explainCallback(url);
  const auto& payment = explanation.entries.back();
  require(payment.ends == mine.has_value() && payment.matches == payment.ends);
  require(!mine || payment.transport != CallbackTransport::urlScheme || payment.result == mine->name(),
          "an explanation names the result");
  require(isValidUTF8(payment.reason) && payment.reason.size() < 8'192);
  require(host.sdk->handleCallback(url) == mine.has_value());
  require(completions == (mine ? 1 : 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = textOf(data, size);
  const auto url = URL::parse(input);
  if (!url) {
    require(url.error().offset <= input.size() && !url.error().message.empty(),
            "an error says where and what");
    return 0;
  }
  checkReadsBack(*url, input);
  checkItems(*url);
  checkWriting(*url);
  checkComparison(*url);
  checkResult(*url);
  return 0;
}
