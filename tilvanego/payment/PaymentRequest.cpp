#include <tilvanego/payment/PaymentRequest.h>

#include <ostream>
#include <utility>

#include <tilvanego/json/ShownFields.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/Wiping.h>

namespace [[gnu::visibility("default")]] tilvanego {

PaymentCredentials::PaymentCredentials(Fields fields)
    : basicToken_(std::move(fields.basicToken)),
      accountId_(std::move(fields.accountId)),
      environment_(uppercased(trimmed(fields.environment))) {
  // A short text remains in the string that it was moved from.
  detail::wipe(fields.basicToken);
}

PaymentCredentials& PaymentCredentials::operator=(PaymentCredentials other) noexcept {
  // Swapped: `other` then holds the old token and wipes it in its destructor.
  std::swap(basicToken_, other.basicToken_);
  std::swap(accountId_, other.accountId_);
  std::swap(environment_, other.environment_);
  return *this;
}

PaymentCredentials::~PaymentCredentials() { detail::wipe(basicToken_); }

std::ostream& PaymentCredentials::show(std::ostream& out) const {
  return support::FieldsShown(out, "PaymentCredentials")
      .field("basicToken", basicToken_)
      .field("accountId", accountId_)
      .field("environment", environment_)
      .end();
}

PaymentRequest::PaymentRequest(Fields fields) : RequestRecord(std::move(fields)) {
  fields_.currency = uppercased(trimmed(fields_.currency));
  if (fields_.transactionType == PaymentTransactionType::save) {
    fields_.amount = 0;
    fields_.tip = Decimal(0);
  }
}

}  // namespace tilvanego
