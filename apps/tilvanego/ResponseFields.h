#pragma once

#include <tilvanego/operations/Capture.h>
#include <tilvanego/operations/ClearData.h>
#include <tilvanego/operations/Initialization.h>
#include <tilvanego/operations/Reboot.h>
#include <tilvanego/operations/RefundResponse.h>
#include <tilvanego/operations/Save.h>
#include <tilvanego/operations/Transaction.h>
#include <tilvanego/operations/TransactionList.h>
#include <tilvanego/payment/PaymentResult.h>

/// What responses and transactions hold: one list of names and values each, for whoever shows them.
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

template <class Visit>
void visitFields(const InitializationResponse& response, Visit visit) {
  visit("callbackURL", response.callbackURL());
  visit("requestId", response.requestId());
  visit("status", response.status());
  visit("message", response.message());
}

template <class Visit>
void visitFields(const TransactionListResponse& response, Visit visit) {
  visit("callbackURL", response.callbackURL());
  visit("requestId", response.requestId());
  visit("status", response.status());
  visit("errorCode", response.errorCode());
  visit("errorMessage", response.errorMessage());
  visit("transactionCount", response.transactionCount());
  visit("transactions", response.transactions());
}

template <class Visit>
void visitFields(const RefundResponse& response, Visit visit) {
  visit("callbackURL", response.callbackURL());
  visit("requestId", response.requestId());
  visit("transactionId", response.transactionId());
  visit("status", response.status());
  visit("errorCode", response.errorCode());
  visit("errorMessage", response.errorMessage());
}

template <class Visit>
void visitFields(const CaptureResponse& response, Visit visit) {
  visit("callbackURL", response.callbackURL());
  visit("requestId", response.requestId());
  visit("status", response.status());
  visit("type", response.type());
  visit("transactionId", response.transactionId());
  visit("approvedAmount", response.approvedAmount());
  visit("originalTransactionId", response.originalTransactionId());
  visit("errorCode", response.errorCode());
  visit("errorMessage", response.errorMessage());
}

template <class Visit>
void visitFields(const ClearDataResponse& response, Visit visit) {
  visit("callbackURL", response.callbackURL());
  visit("requestId", response.requestId());
  visit("status", response.status());
  visit("clearPan", response.clearPan());
  visit("clearTrack2", response.clearTrack2());
  visit("errorCode", response.errorCode());
  visit("errorMessage", response.errorMessage());
}

template <class Visit>
void visitFields(const RebootResponse& response, Visit visit) {
  visit("callbackURL", response.callbackURL());
  visit("requestId", response.requestId());
  visit("status", response.status());
  visit("responseCode", response.responseCode());
  visit("readerSerial", response.readerSerial());
  visit("errorCode", response.errorCode());
  visit("errorMessage", response.errorMessage());
}

template <class Visit>
void visitFields(const SaveResponse& response, Visit visit) {
  visit("callbackURL", response.callbackURL());
  visit("requestId", response.requestId());
  visit("status", response.status());
  visit("transactionId", response.transactionId());
  visit("approvalCode", response.approvalCode());
  visit("processorMessage", response.processorMessage());
  visit("entryMode", response.entryMode());
  visit("cardBrand", response.cardBrand());
  visit("cardLast4", response.cardLast4());
  visit("errorCode", response.errorCode());
  visit("errorMessage", response.errorMessage());
}

/// Fields, then what is computed from them.
template <class Visit>
void visitFields(const TilvaneGoTransactionDetails& details, Visit visit) {
  visit("status", details.status);
  visit("description", details.description);
  visit("transactionId", details.transactionId);
  visit("timestamp", details.timestamp);
  visit("approvedAmount", details.approvedAmount);
  visit("requestedAmount", details.requestedAmount);
  visit("authCode", details.authCode);
  visit("processorMessage", details.processorMessage);
  visit("entryMode", details.entryMode);
  visit("cardBrand", details.cardBrand);
  visit("cardLast4", details.cardLast4);
  visit("cardLabel", details.cardLabel());
}

template <class Visit>
void visitFields(const TilvaneGoTransaction& transaction, Visit visit) {
  visit("amount", transaction.amount);
  visit("tip", transaction.tip);
  visit("type", transaction.type);
  visit("customId", transaction.customId);
  visit("customID", transaction.customID);
  visit("notes", transaction.notes);
  visit("transactionDetails", transaction.transactionDetails);
  visit("id", transaction.id());
  visit("totalAmount", transaction.totalAmount());
}

}  // namespace tilvanego::program
