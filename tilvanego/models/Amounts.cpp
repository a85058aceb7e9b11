#include <tilvanego/models/Amounts.h>

#include <tilvanego/json/DescribedRecord.h>
#include <tilvanego/json/ValueCodecs.h>
#include <tilvanego/models/UnknownCases.h>

namespace [[gnu::visibility("default")]] tilvanego {

template struct json::Described<models::Amounts>;
template struct json::Described<models::AmountsExtended>;
template struct json::Described<models::AmountsResponse>;

namespace models {

bool Amounts::containsUnknownDefaultOpenApiCase() const { return detail::holdsUnknownCase(*this); }
bool AmountsExtended::containsUnknownDefaultOpenApiCase() const { return detail::holdsUnknownCase(*this); }
bool AmountsResponse::containsUnknownDefaultOpenApiCase() const { return detail::holdsUnknownCase(*this); }

}  // namespace models
}  // namespace tilvanego
