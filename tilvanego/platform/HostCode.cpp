#include <tilvanego/platform/HostCode.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <cxxabi.h>

#include <tilvanego/platform/FatalError.h>

namespace tilvanego {
namespace [[gnu::visibility("default")]] support {
namespace {

thread_local bool ownThread = false;

std::string currentExceptionType() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  return type != nullptr ? typeName(*type) : "something";
}

void writeLine(std::string_view callback, std::string_view consequence) {
  std::string line = "TilvaneGo: ";
  line.append(callback).append(" threw ").append(currentExceptionType()).append(consequence).append("\n");
  std::fwrite(line.data(), 1, line.size(), stderr);
}

[[noreturn]] void end(std::string_view title, std::string_view message) {
  const std::string line = std::string(title).append(message).append("\n");
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::abort();
}

}  // namespace

void fatalError(std::string_view message) { end("URLSessionImplementations: Fatal error: ", message); }

void wrongUse(std::string_view message) { end("TilvaneGo: ", message); }

std::string typeName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
  return name ? name.get() : type.name();
}

OwnThread::OwnThread() noexcept { ownThread = true; }

OwnThread::~OwnThread() { ownThread = false; }

bool isOwnThread() noexcept { return ownThread; }

void reportDroppedException(std::string_view callback) noexcept try {
  writeLine(callback, "; the exception is dropped.");
} catch (...) {
  // No memory is left even for the line.
  std::fputs("TilvaneGo: a callback threw; the exception is dropped.\n", stderr);
}

void endForException(std::string_view callback, std::string_view reason) noexcept {
  try {
    writeLine(callback, reason);
  } catch (...) {
    std::fputs("TilvaneGo: a callback threw where nothing can catch it.\n", stderr);
  }
  std::abort();
}

}  // namespace support
}  // namespace tilvanego
