#include <sstream>
#include <utility>

#include <tilvanego/operations/Operations.h>

// What each request says of itself, by the description of its operation: here, where all of them are known.
namespace [[gnu::visibility("default")]] tilvanego {
namespace {

template <OperationKind kind, typename Fields>
const auto& whole(const RequestRecord<kind, Fields>& request) {
  return static_cast<const typename OperationRecords<kind>::Request&>(request);
}

}  // namespace

template <OperationKind kind, typename Fields>
std::optional<std::string> RequestRecord<kind, Fields>::validate() const {
  const auto toString = [](std::string_view message) { return std::string(message); };
  return detail::OperationOf<kind>::validate(whole(*this)).transform(toString);
}

template <OperationKind kind, typename Fields>
std::string RequestRecord<kind, Fields>::description() const {
  std::ostringstream text;
  text << this->fields();
  return std::move(text).str();
}

template class RequestRecord<OperationKind::payment, PaymentRequestFields>;
template class RequestRecord<OperationKind::initialization, InitializationRequestFields>;
template class RequestRecord<OperationKind::transactionList, TransactionListRequestFields>;
template class RequestRecord<OperationKind::fullRefund, FullRefundRequestFields>;
template class RequestRecord<OperationKind::partialRefund, PartialRefundRequestFields>;
template class RequestRecord<OperationKind::capture, CaptureRequestFields>;
template class RequestRecord<OperationKind::clearData, ClearDataRequestFields>;
template class RequestRecord<OperationKind::reboot, RebootRequestFields>;
template class RequestRecord<OperationKind::save, SaveRequestFields>;

}  // namespace tilvanego
