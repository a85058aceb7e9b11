#include <tilvanego/http_client/CachesDirectory.h>

#include <cstdlib>
#include <string_view>
#include <system_error>

#include <tilvanego/http_client/FileDownload.h>
#include <tilvanego/network/OpenAPIMutex.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/PlainName.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

std::string programName() {
  std::error_code unknown;
  std::string name = std::filesystem::read_symlink("/proc/self/exe", unknown).filename().string();
  // The system appends this if the program's file was replaced while it runs.
  constexpr std::string_view replaced = " (deleted)";
  if (name.ends_with(replaced)) name.resize(name.size() - replaced.size());
  return detail::isPlainName(name) ? name : "tilvanego-host";
}

OpenAPIMutex<std::string>& sharedName() {
  // Never destroyed, because a request may end while the process exits.
  static auto& name = *new OpenAPIMutex<std::string>(programName());
  return name;
}

std::filesystem::path absolutePathIn(const char* variable) {
  const char* value = std::getenv(variable);
  std::filesystem::path path(value != nullptr ? value : "");
  return path.is_absolute() ? path : std::filesystem::path();
}

}  // namespace

void CachesDirectory::setName(std::string name) {
  if (!detail::isPlainName(name)) {
    detail::wrongUse("CachesDirectory::setName takes one name, such as \"com.example.till\", not a path");
  }
  sharedName().withValue([&](std::string& held) { held.swap(name); });
}

std::string CachesDirectory::name() { return sharedName().value(); }

std::filesystem::path CachesDirectory::path() {
  if (const auto caches = absolutePathIn("XDG_CACHE_HOME"); !caches.empty()) return caches / name();
  if (const auto home = absolutePathIn("HOME"); !home.empty()) return home / ".cache" / name();
  return {};
}

}  // namespace tilvanego
