#include <tilvanego/network/TLSMaterial.h>

#include <cerrno>
#include <cstddef>
#include <fstream>
#include <ios>
#include <memory>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <tilvanego/values/Base64.h>
#include <tilvanego/values/Release.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {
namespace {

using Certificate = std::unique_ptr<X509, Release<X509_free>>;
using MemoryReader = std::unique_ptr<BIO, Release<BIO_free>>;

constexpr std::size_t hashSize = 32;

std::unexpected<TransportError> invalid(std::string_view option, std::string_view reason) {
  std::string message("tls.");
  message.append(option).append(" ").append(reason);
  return std::unexpected(TransportError{TransportError::Code::invalidTLSOptions, std::move(message)});
}

/// Leaves the errors of OpenSSL on this thread as they were: they belong to its other users.
class OwnErrors {
 public:
  OwnErrors() { ERR_set_mark(); }
  OwnErrors(const OwnErrors&) = delete;
  OwnErrors& operator=(const OwnErrors&) = delete;
  ~OwnErrors() { ERR_pop_to_mark(); }

  /// Whether a reader found no further object, rather than a damaged one.
  static bool sayEnd() { return ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE; }
};

// Without a buffer of the stream, which nobody would wipe. The caller wipes the text.
std::expected<std::string, TransportError> textOf(std::string_view option, const PEM& pem) {
  if (!pem.text.empty() && !pem.file.empty()) {
    return invalid(option, "has a text and names a file: set one of them");
  }
  if (pem.text.size() > maximumPEM) return invalid(option, "is longer than 1 MiB");
  if (pem.file.empty()) return pem.text;
  errno = 0;
  std::ifstream stream;
  stream.rdbuf()->pubsetbuf(nullptr, 0);
  stream.open(pem.file, std::ios::binary);
  std::string text(maximumPEM + 1, '\0');
  if (stream) stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!stream.is_open() || stream.bad()) {
    const auto reason = std::generic_category().message(errno != 0 ? errno : EIO);
    return invalid(option, "names the file " + pem.file + ", which can't be read: " + reason);
  }
  if (static_cast<std::size_t>(stream.gcount()) > maximumPEM) {
    support::wipe(text);
    return invalid(option, "names the file " + pem.file + ", which is longer than 1 MiB");
  }
  text.resize(static_cast<std::size_t>(stream.gcount()));
  return text;
}

MemoryReader readerOf(const std::string& text) {
  MemoryReader reader(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  if (!reader) throw std::bad_alloc();
  return reader;
}

/// Returns the first certificate of the text, if all can be read.
std::expected<Certificate, TransportError> certificatesOf(std::string_view option, const std::string& text) {
  const OwnErrors errors;
  const auto reader = readerOf(text);
  Certificate first;
  for (int number = 1;; ++number) {
    Certificate next(PEM_read_bio_X509(reader.get(), nullptr, nullptr, nullptr));
    if (!next && OwnErrors::sayEnd()) break;
    if (!next) return invalid(option, "has a damaged certificate, number " + std::to_string(number));
    if (!first) first = std::move(next);
  }
  if (!first)
    return invalid(option, "has no certificate in PEM form, which \"-----BEGIN CERTIFICATE-----\" begins");
  return first;
}

std::expected<std::string, TransportError> pinsOf(const std::vector<std::string>& keys) {
  std::string pins;
  for (std::size_t index = 0; index < keys.size(); ++index) {
    const auto hash = base64Decode(keys[index]);
    if (!hash || hash->size() != hashSize) {
      return invalid("pinnedKeys",
                     "has an entry, number " + std::to_string(index + 1) +
                         ", that isn't the base64 of a SHA-256 hash: 44 characters, the last \"=\"");
    }
    if (!pins.empty()) pins.push_back(';');
    // Encoded again, because libcurl compares texts, and unused bits may be set.
    pins.append("sha256//").append(base64Encode(*hash));
  }
  return pins;
}

}  // namespace

std::expected<TLSMaterial, TransportError> TLSMaterial::read(const TLSOptions& options) {
  TLSMaterial material{.lowestVersion = options.lowestVersion};
  auto pins = pinsOf(options.pinnedKeys);
  if (!pins) return std::unexpected(std::move(pins.error()));
  material.pinnedKeys = *std::move(pins);
  if (options.authorities.isSet()) {
    auto text = textOf("authorities", options.authorities);
    if (!text) return std::unexpected(std::move(text.error()));
    if (auto read = certificatesOf("authorities", *text); !read)
      return std::unexpected(std::move(read.error()));
    material.authorities = *std::move(text);
  }
  return material;
}

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

std::expected<void, TransportError> TLSOptions::check() const {
  auto material = detail::TLSMaterial::read(*this);
  if (!material) return std::unexpected(std::move(material.error()));
  return {};
}

}  // namespace tilvanego
