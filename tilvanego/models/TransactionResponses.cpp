#include <tilvanego/models/TransactionResponses.h>

#include <tilvanego/json/DescribedRecord.h>
#include <tilvanego/json/ValueCodecs.h>
#include <tilvanego/models/UnknownCases.h>

namespace [[gnu::visibility("default")]] tilvanego {

template struct json::Described<models::AuthResponse>;
template struct json::Described<models::CardResponse>;
template struct json::Described<models::VeilmarkCardToken>;
template struct json::Described<models::EmvDataResponse>;
template struct json::Described<models::BinDataResponse>;
template struct json::Described<models::CVM>;
template struct json::Described<models::TransactionResponse>;
template struct json::Described<models::ListTransactionResponseInstance>;
template struct json::Described<models::StatusResponse>;

namespace models {

bool AuthResponse::containsUnknownDefaultOpenApiCase() const { return detail::holdsUnknownCase(*this); }
bool CardResponse::containsUnknownDefaultOpenApiCase() const { return detail::holdsUnknownCase(*this); }
bool BinDataResponse::containsUnknownDefaultOpenApiCase() const { return detail::holdsUnknownCase(*this); }
bool CVM::containsUnknownDefaultOpenApiCase() const { return detail::holdsUnknownCase(*this); }
bool TransactionResponse::containsUnknownDefaultOpenApiCase() const {
  return detail::holdsUnknownCase(*this);
}
bool ListTransactionResponseInstance::containsUnknownDefaultOpenApiCase() const {
  return detail::holdsUnknownCase(*this);
}

}  // namespace models
}  // namespace tilvanego
