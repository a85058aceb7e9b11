#pragma once

#include <cstddef>
#include <string>

#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/transports/HandoffPayloads.h>

/// What the benchmarks of the transports send and receive. The same on every run.
namespace tilvanego::bench {

/// Words, numbers and ids as a till writes them; gzip makes about a quarter of it.
[[nodiscard]] std::string notes(std::size_t length);

/// Letters and digits without any pattern; gzip makes about three quarters of it.
[[nodiscard]] std::string randomText(std::size_t length);

/// With credentials, as most requests have them.
[[nodiscard]] PaymentRequest paymentRequest(std::string notes);

/// The items of an approved payment's result.
[[nodiscard]] detail::ResultQueryItems resultItems(std::size_t noteLength);

/// Ends the program unless `holds`.
void require(bool holds, const char* what);

}  // namespace tilvanego::bench
