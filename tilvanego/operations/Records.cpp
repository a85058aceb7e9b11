#include <tilvanego/operations/Records.h>

#include <utility>

#include <tilvanego/values/Text.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego {

InitializationRequest::InitializationRequest(Fields fields) : RequestRecord(std::move(fields)) {
  // A short text remains in the string that it was moved from.
  detail::wipe(fields.basicToken);
  if (auto& environment = fields_.environment) environment = uppercased(trimmed(*environment));
}

InitializationRequest& InitializationRequest::operator=(InitializationRequest other) noexcept {
  detail::wipe(fields_.basicToken);
  fields_ = std::move(other.fields_);
  return *this;
}

InitializationRequest::~InitializationRequest() { detail::wipe(fields_.basicToken); }

TransactionListRequest::TransactionListRequest(Fields fields) : RequestRecord(std::move(fields)) {
  auto& id = fields_.requestId;
  if (!id) return;
  id = std::string(trimmed(*id));
  if (id->empty()) id.reset();
}

FullRefundRequest::FullRefundRequest(Fields fields) : RequestRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.transactionId = std::string(trimmed(fields_.transactionId));
}

PartialRefundRequest::PartialRefundRequest(Fields fields) : RequestRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.transactionId = std::string(trimmed(fields_.transactionId));
}

CaptureRequest::CaptureRequest(Fields fields) : RequestRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.transactionId = std::string(trimmed(fields_.transactionId));
  fields_.amount = std::string(trimmed(fields_.amount));
}

ClearDataRequest::ClearDataRequest(Fields fields) : RequestRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
}

RebootRequest::RebootRequest(Fields fields) : RequestRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
}

SaveRequest::SaveRequest(Fields fields) : RequestRecord(std::move(fields)) {
  fields_.requestId = std::string(trimmed(fields_.requestId));
  fields_.currency = uppercased(trimmed(fields_.currency));
}

}  // namespace tilvanego
