#include <tilvanego/json/ShownFields.h>

#include <ostream>

#include <tilvanego/values/SecretNames.h>

namespace [[gnu::visibility("default")]] tilvanego {

bool support::showFieldName(std::ostream& out, std::string_view name, bool isFirst, bool isPresent) {
  out << (isFirst ? "" : ", ") << name << ": ";
  if (!isHiddenField(name)) return true;
  out << (isPresent ? "present" : "nil");
  return false;
}

}  // namespace tilvanego
