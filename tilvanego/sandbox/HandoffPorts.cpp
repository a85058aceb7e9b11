#include <tilvanego/sandbox/HandoffPorts.h>

#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/platform/SystemClock.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

const Clock& systemClock() {
  static const SystemClock one;
  return one;
}

RandomSource& systemRandomSource() {
  static OpenSSLRandomSource one;
  return one;
}

}  // namespace sandbox
}  // namespace tilvanego
