#pragma once

#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/operations/Transaction.h>

namespace tilvanego::program {

/// Calls `visit(name, value)` for each field of a response or a transaction, then for each computed value. A
/// value may be an absent optional.
template <typename Record, typename Visit>
void visitRecord(const Record& record, Visit visit) {
  visitFields(record.fields(), visit);
}

template <typename Visit>
void visitRecord(const TilvaneGoTransactionDetails& details, Visit visit) {
  visitFields(details, visit);
  visit("cardLabel", details.cardLabel());
}

template <typename Visit>
void visitRecord(const TilvaneGoTransaction& transaction, Visit visit) {
  visitFields(transaction, visit);
  visit("id", transaction.id());
  visit("totalAmount", transaction.totalAmount());
}

}  // namespace tilvanego::program
