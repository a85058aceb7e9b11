#pragma once

#include <cstdint>
#include <optional>

#include <tilvanego/frame/Operation.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/values/Date.h>

namespace tilvanego::detail {

/// An operation that was started and not yet finished.
template <typename Operation>
struct Pending {
  typename Operation::Request request;
  Completion<Operation> completion;
  Date startedAt;
  /// Of a payment alone.
  std::optional<PaymentLaunchTransport> transport;
  /// Its record in the pending store; 0 if it has none.
  std::uint64_t record = 0;
  /// It was resumed with its callback, which the main queue's next turn delivers: it takes no other one.
  bool isDelivering = false;
};

}  // namespace tilvanego::detail
