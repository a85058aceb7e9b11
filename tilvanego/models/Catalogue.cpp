#include <tilvanego/models/Catalogue.h>

#include <algorithm>
#include <array>
#include <utility>

#include <tilvanego/models/Amounts.h>
#include <tilvanego/models/CatalogueEntries.h>
#include <tilvanego/models/Errors.h>
#include <tilvanego/models/Parties.h>
#include <tilvanego/models/TerminalCommands.h>
#include <tilvanego/models/Trace.h>
#include <tilvanego/models/TransactionRequests.h>
#include <tilvanego/models/TransactionResponses.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {
namespace {

template <Record... Records>
constexpr std::array<RecordType, sizeof...(Records)> describeAll() {
  return {detail::describe<Records>()...};
}

template <HasUnknownCase... Enumerations>
constexpr std::array<EnumerationType, sizeof...(Enumerations)> describeEnumerations() {
  return {EnumerationType{detail::typeText<Enumerations>, detail::caseDescriptions<Enumerations>}...};
}

constexpr auto records =
    describeAll<Address, Amounts, AmountsExtended, AmountsResponse, ApiViolation, AuthResponse,
                BinDataResponse, CVM, CancelRequest, CancelResponse, CaptureSignatureResponse, CardResponse,
                ClickToPayTraceData, CreditRequest, CustomReceiptRequest, Customer, EBT, EmvDataResponse,
                ErrorDetail, ForceRequest, GpsLocation, Healthcare, ListTransactionResponseInstance,
                ModelError, PoslinkRequest, PoslinkResponse, ProcessPoiRebootRequest, ReceiptResponse,
                RefundRequest, ReprintReceiptRequest, SaleAndAuthRequest, ShippingAddress, ShowDialogRequest,
                ShowDialogResponse, ShowDialogStyle, StatusResponse, Trace, TraceResponse,
                TransactionHistoryRecord, TransactionResponse, VeilmarkCardToken>();

constexpr auto enumerations =
    describeEnumerations<AVSResponseCode, AuthMessageEnum, BinDataResponse::Program,
                         BinDataResponse::ProgramCard, CVM::Method, CVV2ResponseCode, CardBrand, Currency,
                         EBT::ModelType, ErrorType, ListTransactionResponseInstance::TransactionType,
                         ReprintReceiptRequest::Copy, ReprintReceiptRequest::TransType, ResponseEntryMode,
                         ShowDialogStyle::TextColor, ShowDialogStyle::TextSize, Status, TenderType,
                         TransactionHistoryRecord::Action>();

static_assert(std::ranges::is_sorted(records, {}, &RecordType::name));
static_assert(std::ranges::is_sorted(enumerations, {}, &EnumerationType::name));

template <typename Type, std::size_t count>
const Type* find(const std::array<Type, count>& all, std::string_view name) {
  const auto found = std::ranges::lower_bound(all, name, {}, &Type::name);
  return found != all.end() && found->name == name ? &*found : nullptr;
}

}  // namespace

std::string FieldDescription::typeText() const {
  return isArray ? "array of " + std::string(type) : std::string(type);
}

AnyRecord::AnyRecord(const RecordType& type)
    : type_(&type), record_(type.operations.make(), type.operations.destroy) {}

std::expected<std::string, JSONError> AnyRecord::encode(const JSONFormat& format) const {
  json::Writer writer(support::withDates(format));
  if (!writer.writeRecord(type_->operations.table(), record_.get()))
    return std::unexpected(std::move(writer.error()));
  return writer.take();
}

void AnyRecord::visitRules(const RuleVisitor& visitor) const {
  type_->operations.visitRules(record_.get(), visitor);
}

std::optional<bool> AnyRecord::containsUnknownDefaultOpenApiCase() const {
  return type_->operations.containsUnknownCase(record_.get());
}

std::size_t AnyRecord::hash() const { return type_->operations.hash(record_.get()); }

bool AnyRecord::operator==(const AnyRecord& other) const {
  return type_ == other.type_ && type_->operations.equal(record_.get(), other.record_.get());
}

std::expected<AnyRecord, JSONError> RecordType::decode(std::string_view text,
                                                       const JSONLimits& limits) const {
  AnyRecord record(*this);
  JSONError error;
  const auto read = [&](json::Reader& reader) {
    return reader.readRecord(operations.table(), record.record_.get());
  };
  if (!support::decodeBy(read, text, limits, error)) return std::unexpected(std::move(error));
  return record;
}

std::span<const RecordType> recordTypes() { return records; }
std::span<const EnumerationType> enumerationTypes() { return enumerations; }

const RecordType* findRecordType(std::string_view name) { return find(records, name); }
const EnumerationType* findEnumerationType(std::string_view name) { return find(enumerations, name); }

}  // namespace models
}  // namespace tilvanego
