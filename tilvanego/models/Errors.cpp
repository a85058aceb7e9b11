#include <tilvanego/models/Errors.h>

#include <tilvanego/json/DescribedRecord.h>
#include <tilvanego/json/ValueCodecs.h>

namespace [[gnu::visibility("default")]] tilvanego {

template struct json::Described<models::ModelError>;
template struct json::Described<models::ErrorDetail>;
template struct json::Described<models::ApiViolation>;

}  // namespace tilvanego
