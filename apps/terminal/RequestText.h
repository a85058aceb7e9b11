#pragma once

#include <string>
#include <string_view>

#include "Terminal.h"

namespace tilvanego::terminal {

/// "Payment", "Partial refund".
[[nodiscard]] std::string operationName(sandbox::Operation operation);
/// "Approve", "Wrong id".
[[nodiscard]] std::string outcomeName(sandbox::Outcome outcome);
/// "12.50 EUR", "12 JPY"; empty for a request without an amount.
[[nodiscard]] std::string amountText(const sandbox::LaunchLink& asked);
/// How the request came: "Compressed in the link".
[[nodiscard]] std::string arrivalText(sandbox::Transport transport);
/// One line for the list of requests: "Payment · 12.50 EUR · Approve · A-1001".
[[nodiscard]] std::string summary(const Request& request);
/// What was asked, a line each, with secrets hidden.
[[nodiscard]] std::string details(const Request& request);
/// The link and the answer as they travel if `shown`, else where they lead to and how long they are.
[[nodiscard]] std::string traffic(const Request& request, bool shown);

}  // namespace tilvanego::terminal
