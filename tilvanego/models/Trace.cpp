#include <tilvanego/models/Trace.h>

#include <tilvanego/json/DescribedRecord.h>
#include <tilvanego/json/ValueCodecs.h>
#include <tilvanego/models/UnknownCases.h>

namespace [[gnu::visibility("default")]] tilvanego {

template struct json::Described<models::Trace>;
template struct json::Described<models::ClickToPayTraceData>;
template struct json::Described<models::TransactionHistoryRecord>;
template struct json::Described<models::TraceResponse>;

namespace models {

bool TransactionHistoryRecord::containsUnknownDefaultOpenApiCase() const {
  return detail::holdsUnknownCase(*this);
}

}  // namespace models
}  // namespace tilvanego
