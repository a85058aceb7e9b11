// The PEM texts of `TLSOptions`: certificate, private key and authorities, with a line of "====" between
// them. An error names its option and shows nothing of the texts. What was read is written, and must read as
// the same without a passphrase. OpenSSL's errors of the thread stay as they were.

#include <openssl/err.h>

#include <tilvanego/network/TLSMaterial.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;

std::string nextPart(std::string_view& rest) {
  static constexpr std::string_view line = "====\n";
  const auto end = rest.find(line);
  std::string part(rest.substr(0, end));
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + line.size());
  return part;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view rest = textOf(data, size);
  TLSOptions options;
  options.certificate.text = nextPart(rest);
  options.privateKey.text = nextPart(rest);
  options.authorities.text = nextPart(rest);
  // A key of the newer form says how often the passphrase is hashed: any time would pass.
  const bool isOlderForm = !options.privateKey.text.contains("BEGIN ENCRYPTED");
  options.passphrase = [=] { return isOlderForm ? std::optional<std::string>("s3cret") : std::nullopt; };

  const auto material = detail::TLSMaterial::read(options);
  require(ERR_peek_error() == 0, "no error is left behind");
  if (!material) {
    const auto& message = material.error().message;
    require(material.error().code == TransportError::Code::invalidTLSOptions, "the code");
    require(message.starts_with("tls.") && message.size() < 120, "a message of our own words");
    return 0;
  }
  TLSOptions written;
  written.certificate.text = material->certificates;
  written.privateKey.text = material->privateKey;
  written.authorities.text = material->authorities;
  const auto again = detail::TLSMaterial::read(written);
  require(again && again->certificates == material->certificates &&
              again->privateKey == material->privateKey && again->authorities == material->authorities,
          "reads back");
  return 0;
}
