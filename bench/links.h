#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

/// The two texts that the benchmarks of links are about, and the work done on them by others.
namespace tilvanego::bench {

/// A callback of ten items, 399 bytes.
inline constexpr std::string_view callback =
    "myshop://payment-done/"
    "receipt?request_id=3f0e7c1a-58d2-4f6e-9d31-0a7b6c2e9f44&status=approved&processor_message="
    "Approved%20and%20completed%20successfully&approval_code=0A71C9&transaction_id=TX-2026-11-21-"
    "000000018734&custom_id="
    "till-07%2Forder-20261121-0042&card_brand=VISA&card_last4=4242&timestamp=2026-11-21T11%3A36%3A00Z&"
    "receipt_url=https%"
    "3A%2F%2Freceipts.example.com%2F2026%2F11%2F21%2F18734%3Flang%3Den";
inline constexpr std::string_view expectedRequestId = "3f0e7c1a-58d2-4f6e-9d31-0a7b6c2e9f44";
inline constexpr std::string_view expectedCallback = "myshop://payment-done/receipt";

/// What a callback is read into: the text itself and six fields.
struct Read {
  std::string callback;
  std::array<std::optional<std::string>, 6> fields;
  bool approved = false;
};

struct Item {
  std::string_view name;
  std::string_view value;
};

/// The twelve items of a payment's link.
inline constexpr std::array<Item, 12> items{{
    {"request_id", "3f0e7c1a-58d2-4f6e-9d31-0a7b6c2e9f44"},
    {"amount", "1284.5"},
    {"type", "sale"},
    {"currency", "EUR"},
    {"return_url", "myshop://payment-done/receipt?till=7&lang=en"},
    {"tip", "12.25"},
    {"custom_id", "till-07/order-20261121-0042"},
    {"notes", "Table 12, two guests; paid in part with a voucher (50 %)"},
    {"basic_token", "dGlsdmFuZTpyZWhlYXJzYWwtdG9rZW4tMDAwMQ=="},
    {"account_id", "ACC-00012345"},
    {"environment", "STAGING"},
    {"require_reader_ready", "true"},
}};

/// Written for these two texts by hand: the practical limit.
namespace hand {
/// Characters and escapes are checked as RFC 3986 has them before anything is taken out.
[[nodiscard]] std::optional<Read> read(std::string_view callback);
[[nodiscard]] std::string build();
}  // namespace hand

namespace boostURL {
[[nodiscard]] std::optional<Read> read(std::string_view callback);
[[nodiscard]] std::string build();
}  // namespace boostURL

namespace uriparser {
[[nodiscard]] std::optional<Read> read(std::string_view callback);
[[nodiscard]] std::string build();
}  // namespace uriparser

/// Which of the six fields a key in lower case names; six for none. For the peers, which bring no look-up.
[[nodiscard]] std::size_t fieldOf(std::string_view name);
/// The id and the status are as expected; sets `approved`.
[[nodiscard]] bool decide(Read& read);

}  // namespace tilvanego::bench
