#include <tilvanego/values/Literals.h>

namespace [[gnu::visibility("default")]] tilvanego {

URL support::urlOfLiteral(std::string_view text) { return URL::parse(text).value(); }

}  // namespace tilvanego
