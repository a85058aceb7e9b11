#include "ScriptFile.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Descriptor.h"

namespace tilvanego::program {
namespace {

using sandbox::RehearsalScript;

std::unexpected<std::string> failure(const std::string& path, const std::string& reason) {
  return std::unexpected(path + ": " + reason);
}

}  // namespace

std::expected<RehearsalScript, std::string> readScriptFile(const std::string& path) {
  // Not blocking: opening a pipe would wait for its writer.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file) {
    return failure(path, errno == ELOOP ? "is a symbolic link; name the file itself" : std::strerror(errno));
  }
  struct stat status{};
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
    return failure(path, "is no regular file");
  std::string text;
  std::array<char, 65536> chunk{};
  ssize_t count = 0;
  // One chunk more than allowed is enough for the script's reader to refuse it.
  while (text.size() <= RehearsalScript::maxSize &&
         (count = ::read(file.get(), chunk.data(), chunk.size())) > 0) {
    text.append(chunk.data(), static_cast<std::size_t>(count));
  }
  if (count < 0) return failure(path, std::strerror(errno));
  auto script = RehearsalScript::parse(text);
  if (!script) return failure(path, script.error().message);
  return *std::move(script);
}

}  // namespace tilvanego::program
