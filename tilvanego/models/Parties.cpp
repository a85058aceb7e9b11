#include <tilvanego/models/Parties.h>

#include <tilvanego/json/DescribedRecord.h>
#include <tilvanego/json/ValueCodecs.h>
#include <tilvanego/models/UnknownCases.h>

namespace [[gnu::visibility("default")]] tilvanego {

template struct json::Described<models::Address>;
template struct json::Described<models::ShippingAddress>;
template struct json::Described<models::Customer>;
template struct json::Described<models::GpsLocation>;
template struct json::Described<models::Healthcare>;
template struct json::Described<models::EBT>;

namespace models {

bool EBT::containsUnknownDefaultOpenApiCase() const { return detail::holdsUnknownCase(*this); }

}  // namespace models
}  // namespace tilvanego
