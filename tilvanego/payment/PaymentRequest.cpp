#include <tilvanego/payment/PaymentRequest.h>

#include <utility>

#include <tilvanego/values/Text.h>

namespace tilvanego {

PaymentCredentials::PaymentCredentials(Fields fields) : fields_(std::move(fields)) {
  fields_.environment = uppercased(trimmed(fields_.environment));
}

PaymentRequest::PaymentRequest(Fields fields) : fields_(std::move(fields)) {
  fields_.currency = uppercased(trimmed(fields_.currency));
  if (fields_.transactionType == PaymentTransactionType::save) {
    fields_.amount = 0;
    fields_.tip = Decimal(0);
  }
}

}  // namespace tilvanego
