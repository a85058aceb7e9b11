#pragma once

#include <tilvanego/payment/PaymentResult.h>

/// What each kind's response holds: one list of names and values, for whoever shows it.
namespace tilvanego::program {

/// Calls `visit(name, value)` for each field, in order; a value may be an absent optional.
template <class Visit>
void visitFields(const PaymentResponse& response, Visit visit) {
  visit("callbackURL", response.callbackURL());
  visit("requestId", response.requestId());
  visit("status", response.status());
  visit("processorMessage", response.processorMessage());
  visit("approvalCode", response.approvalCode());
  visit("transactionId", response.transactionId());
  visit("customId", response.customId());
}

}  // namespace tilvanego::program
