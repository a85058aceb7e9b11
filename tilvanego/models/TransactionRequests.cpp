#include <tilvanego/models/TransactionRequests.h>

#include <tilvanego/json/DescribedRecord.h>
#include <tilvanego/json/ValueCodecs.h>

namespace [[gnu::visibility("default")]] tilvanego {

template struct json::Described<models::SaleAndAuthRequest>;
template struct json::Described<models::RefundRequest>;
template struct json::Described<models::CreditRequest>;
template struct json::Described<models::ForceRequest>;

}  // namespace tilvanego
