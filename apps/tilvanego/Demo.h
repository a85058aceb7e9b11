#pragma once

#include <optional>
#include <vector>

#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/sandbox/Outcome.h>
#include <tilvanego/values/Decimal.h>

#include "Terminal.h"

namespace tilvanego::program {

struct DemoOptions {
  std::vector<PaymentLaunchTransport> transports;
  bool otherOperations = true;
  /// In euro, for each operation that has an amount.
  Decimal amount;
  /// Nothing: the amount decides.
  std::optional<sandbox::Outcome> outcome;
};

/// Shows payments out and back in this process, with the sandbox as the payment application. False if one of
/// them could not be shown to its end. Uses the process's one instance of the library.
[[nodiscard]] bool runDemo(const DemoOptions& options, Terminal& terminal);

}  // namespace tilvanego::program
