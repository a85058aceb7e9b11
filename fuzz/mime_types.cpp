// Any bytes as a file of the shared MIME database. Its types are written into headers, so each must be a type
// and a subtype. A common type is replaced only by an entry with more weight.

#include <tilvanego/http_client/encodings/MIMETypes.h>

#include "fuzz/Fuzzer.h"

namespace {

using tilvanego::MIMETypes;

void check(const MIMETypes& types, std::string_view extension) {
  const auto type = types.typeForExtension(extension);
  if (!type) return;
  require(std::ranges::count(*type, '/') == 1 && !type->starts_with('/') && !type->ends_with('/'));
  require(std::ranges::all_of(*type, [](char c) { return c > ' ' && c < 0x7F; }));
  require(type->find_first_of("\";,=:()<>@[]?\\") == std::string_view::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = textOf(data, size);
  MIMETypes types;
  types.addGlobs(text);
  for (std::size_t at = 0; (at = text.find("*.", at)) != std::string_view::npos; at += 2) {
    const std::string_view extension = text.substr(at + 2);
    check(types, extension.substr(0, extension.find_first_of(":\n")));
  }
  require(types.typeForExtension("pdf").has_value());
  types.addGlobs("\n2147483647:application/pdf:*.pdf\n");
  MIMETypes again = types;
  again.addGlobs(text);
  require(again.typeForExtension("pdf") == types.typeForExtension("pdf"));
  return 0;
}
