// The path of a download: the first line is the path of a URL, the rest is a server's "Content-Disposition".
// A simple implementation of the rule must find the same file name. No path and no name may lead out of the
// directory for downloads.

#include <filesystem>

#include <tilvanego/http_client/FileDownload.h>
#include <tilvanego/http_client/URLSessionImplementations.h>
#include <tilvanego/values/Text.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;

std::optional<std::string> plainlyRead(std::string_view field) {
  while (true) {
    const std::size_t end = std::min(field.find(';'), field.size());
    std::string piece(field.substr(0, end));
    if (const std::size_t at = piece.find("filename="); at != std::string::npos) {
      piece.erase(at, std::string_view("filename=").size());
      piece.erase(std::ranges::remove(piece, '"').begin(), piece.end());
      return std::string(trimmed(piece));
    }
    if (end == field.size()) return std::nullopt;
    field.remove_prefix(end + 1);
  }
}

void checkNames(std::string_view path, std::string_view fileName) {
  const auto names = detail::downloadNames(path, fileName);
  if (!names) return;
  require(!names->empty());
  std::filesystem::path file = "/caches";
  for (const std::string& name : *names) {
    require(!name.empty() && name != "." && name != ".." && !name.contains('/') && !name.contains('\0'));
    file /= name;
  }
  require(file.lexically_normal() == file && file.string().starts_with("/caches/"));
  if (!fileName.empty()) require(names->back() == fileName);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto builder = RequestBuilder::make<URLSessionRequestBuilder>(
      bodyTypeOf<Empty>(), {.method = "GET", .URLString = "https://host/"});
  const std::string_view input = textOf(data, size);
  const std::size_t lineEnd = std::min(input.find('\n'), input.size());
  const std::string_view path = input.substr(0, lineEnd);
  const std::string field(input.substr(std::min(lineEnd + 1, size)));

  require(!builder->fileNameFrom(std::nullopt));
  const auto fileName = builder->fileNameFrom(field);
  require(fileName == plainlyRead(field));
  checkNames(path, fileName.value_or("fresh"));
  return 0;
}
