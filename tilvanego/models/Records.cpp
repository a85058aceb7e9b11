#include <tuple>

#include <tilvanego/json/DescribedRecord.h>
#include <tilvanego/models/Errors.h>
#include <tilvanego/models/TerminalCommands.h>
#include <tilvanego/models/TransactionRequests.h>
#include <tilvanego/models/TransactionResponses.h>

namespace [[gnu::visibility("default")]] tilvanego {

template struct json::Described<models::Amounts>;
template struct json::Described<models::AmountsExtended>;
template struct json::Described<models::AmountsResponse>;
template struct json::Described<models::ModelError>;
template struct json::Described<models::ErrorDetail>;
template struct json::Described<models::ApiViolation>;
template struct json::Described<models::Address>;
template struct json::Described<models::ShippingAddress>;
template struct json::Described<models::Customer>;
template struct json::Described<models::GpsLocation>;
template struct json::Described<models::Healthcare>;
template struct json::Described<models::EBT>;
template struct json::Described<models::CancelRequest>;
template struct json::Described<models::CancelResponse>;
template struct json::Described<models::PoslinkRequest>;
template struct json::Described<models::PoslinkResponse>;
template struct json::Described<models::ProcessPoiRebootRequest>;
template struct json::Described<models::ReprintReceiptRequest>;
template struct json::Described<models::CustomReceiptRequest>;
template struct json::Described<models::ReceiptResponse>;
template struct json::Described<models::ShowDialogStyle>;
template struct json::Described<models::ShowDialogRequest>;
template struct json::Described<models::ShowDialogResponse>;
template struct json::Described<models::CaptureSignatureResponse>;
template struct json::Described<models::Trace>;
template struct json::Described<models::ClickToPayTraceData>;
template struct json::Described<models::TransactionHistoryRecord>;
template struct json::Described<models::TraceResponse>;
template struct json::Described<models::SaleAndAuthRequest>;
template struct json::Described<models::RefundRequest>;
template struct json::Described<models::CreditRequest>;
template struct json::Described<models::ForceRequest>;
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
namespace {

template <typename Member>
bool isUnknownCase(const Member& member) {
  using Value = json::detail::OptionalTraits<Member>::Value;
  if constexpr (HasUnknownCase<Value>) return member == Value::unknownDefaultOpenApi;
  return false;
}

/// Whether a member of the record itself, not of a nested record, is `unknownDefaultOpenApi`.
template <json::NamesItsKeys Record>
bool holdsUnknownCase(const Record& record) {
  return std::apply([](const auto&... member) { return (isUnknownCase(member) || ...); },
                    json::detail::tieMembers<json::fieldCount<Record>>(record));
}

}  // namespace

bool Amounts::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool AmountsExtended::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool AmountsResponse::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool EBT::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool ReprintReceiptRequest::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool ShowDialogStyle::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool TransactionHistoryRecord::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool AuthResponse::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool CardResponse::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool BinDataResponse::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool CVM::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool TransactionResponse::containsUnknownDefaultOpenApiCase() const { return holdsUnknownCase(*this); }
bool ListTransactionResponseInstance::containsUnknownDefaultOpenApiCase() const {
  return holdsUnknownCase(*this);
}

}  // namespace models
}  // namespace tilvanego
