#include <tilvanego/http_client/BodyType.h>

#include <cstdlib>
#include <memory>

#include <cxxabi.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {

std::string typeName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
  return name ? name.get() : type.name();
}

}  // namespace support
}  // namespace tilvanego
