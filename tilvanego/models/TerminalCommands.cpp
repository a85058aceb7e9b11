#include <tilvanego/models/TerminalCommands.h>

#include <tilvanego/json/DescribedRecord.h>
#include <tilvanego/json/ValueCodecs.h>
#include <tilvanego/models/UnknownCases.h>

namespace [[gnu::visibility("default")]] tilvanego {

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

namespace models {

bool ReprintReceiptRequest::containsUnknownDefaultOpenApiCase() const {
  return detail::holdsUnknownCase(*this);
}
bool ShowDialogStyle::containsUnknownDefaultOpenApiCase() const { return detail::holdsUnknownCase(*this); }

}  // namespace models
}  // namespace tilvanego
