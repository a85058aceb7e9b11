#include <tilvanego/platform/desktop/RuntimeDirectory.h>

#include <cstdlib>
#include <string>

#include <unistd.h>

#include <tilvanego/platform/desktop/PrivateDirectory.h>

namespace tilvanego::detail {

std::filesystem::path runtimeDirectory() {
  const std::string user = std::to_string(geteuid());
  const char* configured = std::getenv("XDG_RUNTIME_DIR");
  for (const std::filesystem::path& runtime :
       {std::filesystem::path(configured ? configured : ""), std::filesystem::path("/run/user") / user}) {
    if (runtime.is_absolute() && isOwnDirectory(runtime)) return runtime / "tilvanego";
  }
  return "/tmp/tilvanego-" + user;
}

}  // namespace tilvanego::detail
