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
  /// The amount in euro of each operation that has one.
  Decimal amount;
  /// Without a value, the amount decides.
  std::optional<sandbox::Outcome> outcome;
};

/// Shows the operations in this process, with the sandbox as the payment application. Returns false if one of
/// them could not be shown completely. Uses the shared instance of the library.
[[nodiscard]] bool runDemo(const DemoOptions& options, Terminal& terminal);

}  // namespace tilvanego::program
