#pragma once

#include <optional>
#include <string>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Decimal.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// An operation that waits for its callback. With a pending store, also an awaited one whose callback came
/// and whose coroutine hasn't gone on yet, though its slot is free.
struct PendingOperation {
  OperationKind kind;
  /// Absent if the request has none.
  std::optional<std::string> requestId;
  /// By the platform's clock if the platform has a pending store or its clock is a `ManualClock`; else by the
  /// system's, in whole seconds: without a store, a start doesn't read a clock of the host's.
  Date startedAt;
  /// The transport that the start was given. Of a payment alone.
  std::optional<PaymentLaunchTransport> transport;

  bool operator==(const PendingOperation&) const = default;
};

/// An operation that was pending when an earlier process ended, or that was awaited by a coroutine which was
/// destroyed when the callback had come and before it had the result.
struct InterruptedOperation {
  OperationKind kind;
  /// Absent if the request has none.
  std::optional<std::string> requestId;
  /// In the currency's main unit. Absent if the request has none, or if that of a capture is no decimal.
  std::optional<Decimal> amount;
  /// In whole seconds, by the clock of the process that started it.
  Date startedAt;
  /// Its callback has come: resuming it delivers the result at once. If the callback had come in the earlier
  /// process, that was ended before the completion had returned, or before the coroutine that awaited it came
  /// back from its resumption: the host may know the result already.
  bool callbackReceived = false;

  bool operator==(const InterruptedOperation&) const = default;
};

}  // namespace tilvanego
