#include <tilvanego/network/TLSMaterial.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <ios>
#include <memory>
#include <new>
#include <span>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <tilvanego/values/Base64.h>
#include <tilvanego/values/Release.h>
#include <tilvanego/values/Shown.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {
namespace {

using support::WipedAtEnd;
using Certificate = std::unique_ptr<X509, Release<X509_free>>;
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using Memory = std::unique_ptr<BIO, Release<BIO_free>>;
using Context = std::unique_ptr<SSL_CTX, Release<SSL_CTX_free>>;

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

/// The name of a file in one line, cut if it is long.
std::string shownName(std::string_view name) {
  constexpr std::size_t longest = 200;
  std::ostringstream shown;
  support::showLiteral(shown, name.substr(0, longest));
  if (name.size() > longest) shown << "...";
  return std::move(shown).str();
}

// Without a buffer of the stream, which nobody would wipe. The caller wipes the text.
std::expected<std::string, TransportError> textOf(std::string_view option, const PEM& pem) {
  if (!pem.text.empty() && !pem.file.empty()) {
    return invalid(option, "has a text and names a file: set one of them");
  }
  if (pem.text.size() > maximumPEM) return invalid(option, "is longer than 1 MiB");
  if (pem.file.empty()) return pem.text;
  // It may be a private key, so it isn't shown.
  if (pem.file.contains("-----BEGIN") || pem.file.contains('\n')) {
    return invalid(option, "names a file by a PEM text: set text instead of file");
  }
  if (pem.file.contains('\0')) return invalid(option, "names a file by a text with NUL");
  const auto file = "names the file " + shownName(pem.file);
  const auto unreadable = [&](const std::error_code& cause) {
    return invalid(option, file + ", which can't be read: " + cause.message());
  };
  std::error_code cause;
  const auto kind = std::filesystem::status(pem.file, cause).type();
  if (cause) return unreadable(cause);
  // A pipe may have no writer, a device no end.
  if (kind != std::filesystem::file_type::regular)
    return invalid(option, file + ", which is no regular file");
  errno = 0;
  std::ifstream stream;
  stream.rdbuf()->pubsetbuf(nullptr, 0);
  stream.open(pem.file, std::ios::binary);
  std::string text(maximumPEM + 1, '\0');
  if (stream) stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!stream.is_open() || stream.bad()) {
    return unreadable({errno != 0 ? errno : EIO, std::generic_category()});
  }
  if (static_cast<std::size_t>(stream.gcount()) > maximumPEM) {
    support::wipe(text);
    return invalid(option, file + ", which is longer than 1 MiB");
  }
  text.resize(static_cast<std::size_t>(stream.gcount()));
  return text;
}

Memory readerOf(const std::string& text) {
  Memory reader(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  if (!reader) throw std::bad_alloc();
  return reader;
}

// OpenSSL wipes the memory when it is freed.
Memory writer() {
  Memory made(BIO_new(BIO_s_mem()));
  if (!made) throw std::bad_alloc();
  return made;
}

std::string textOf(const Memory& written) {
  char* text = nullptr;
  const auto size = BIO_get_mem_data(written.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

// Without it, OpenSSL would ask for a passphrase on the terminal.
int refusePassphrase(char*, int, int, void*) { return -1; }

/// Returns all certificates of the text, at least one.
std::expected<std::vector<Certificate>, TransportError> certificatesOf(std::string_view option,
                                                                       const std::string& text) {
  const OwnErrors errors;
  const auto reader = readerOf(text);
  std::vector<Certificate> certificates;
  for (;;) {
    Certificate next(PEM_read_bio_X509(reader.get(), nullptr, &refusePassphrase, nullptr));
    if (!next && OwnErrors::sayEnd()) break;
    if (!next) {
      return invalid(option, "has a damaged certificate, number " + std::to_string(certificates.size() + 1));
    }
    certificates.push_back(std::move(next));
  }
  if (certificates.empty()) {
    return invalid(option, "has no certificate in PEM form, which \"-----BEGIN CERTIFICATE-----\" begins");
  }
  return certificates;
}

/// Whether OpenSSL doesn't have the cipher of a key in the form of RFC 1421. Its last error doesn't say that.
bool hasUnknownCipher(std::string_view key) {
  static constexpr std::string_view name = "DEK-Info: ";
  const auto start = key.find(name);
  if (start == std::string_view::npos) return false;
  const auto rest = key.substr(start + name.size());
  const std::string cipher(rest.substr(0, std::min<std::size_t>(rest.find(','), 40)));
  auto* const found = EVP_CIPHER_fetch(nullptr, cipher.c_str(), nullptr);
  EVP_CIPHER_free(found);
  return !found;
}

/// Gives OpenSSL the passphrase of a key, and remembers what came of it.
class Passphrase {
 public:
  explicit Passphrase(const TLSOptions& options) : ask_(options.passphrase) {}
  Passphrase(const Passphrase&) = delete;
  Passphrase& operator=(const Passphrase&) = delete;
  ~Passphrase() { support::wipe(text_); }

  static int give(char* room, int size, int /*writes*/, void* self) noexcept {
    return static_cast<Passphrase*>(self)->copyTo(std::span(room, static_cast<std::size_t>(size)));
  }

  /// Why the text of a key couldn't be read with it. OpenSSL's last error must be the reader's.
  [[nodiscard]] std::string_view reason(const std::string& key) const {
    if (!isAsked_) return "has no private key that can be read, in PEM form";
    if (!ask_) return "is encrypted: set tls.passphrase";
    if (!text_) return "is encrypted, and tls.passphrase gave no passphrase";
    if (text_->size() > maximumSize) return "is encrypted, and tls.passphrase is longer than 1023 bytes";
    const auto error = ERR_peek_last_error();
    const bool isUnsupported =
        ERR_GET_LIB(error) == ERR_LIB_EVP && ERR_GET_REASON(error) == ERR_R_UNSUPPORTED;
    if (!isUnsupported && !hasUnknownCipher(key))
      return "isn't opened by the passphrase that tls.passphrase gave";
    return "has an encryption that OpenSSL no longer reads: write it anew by \"openssl pkcs8 -topk8\"";
  }

 private:
  static constexpr std::size_t maximumSize = 1023;

  // OpenSSL may ask several times.
  int copyTo(std::span<char> room) noexcept {
    if (!std::exchange(isAsked_, true) && ask_) {
      try {
        text_ = ask_();
      } catch (...) {
        text_.reset();
      }
    }
    if (!text_ || text_->size() > std::min(room.size(), maximumSize)) return -1;
    std::ranges::copy(*text_, room.begin());
    return static_cast<int>(text_->size());
  }

  const std::function<std::optional<std::string>()>& ask_;
  bool isAsked_ = false;
  std::optional<std::string> text_;
};

/// Whether OpenSSL takes them for a connection of TLS: the system may refuse weak keys and hashes. Otherwise
/// the last error says why.
bool areTaken(const std::vector<Certificate>& certificates, EVP_PKEY* key) {
  const Context context(SSL_CTX_new(TLS_client_method()));
  if (!context) throw std::bad_alloc();
  return SSL_CTX_use_certificate(context.get(), certificates.front().get()) == 1 &&
         SSL_CTX_use_PrivateKey(context.get(), key) == 1 &&
         std::all_of(certificates.begin() + 1, certificates.end(), [&](const Certificate& further) {
           return SSL_CTX_add1_chain_cert(context.get(), further.get()) == 1;
         });
}

std::expected<void, TransportError> readIdentity(const TLSOptions& options, TLSMaterial& material) {
  if (!options.certificate.isSet() && !options.privateKey.isSet()) return {};
  if (!options.privateKey.isSet()) return invalid("certificate", "needs its private key: set tls.privateKey");
  if (!options.certificate.isSet())
    return invalid("privateKey", "needs its certificate: set tls.certificate");

  auto text = textOf("certificate", options.certificate);
  // A private key may stand beside the certificate.
  const WipedAtEnd wipedText(text);
  if (!text) return std::unexpected(std::move(text.error()));
  const auto certificates = certificatesOf("certificate", *text);
  if (!certificates) return std::unexpected(certificates.error());
  auto keyText = textOf("privateKey", options.privateKey);
  const WipedAtEnd wipedKey(keyText);
  if (!keyText) return std::unexpected(std::move(keyText.error()));

  const OwnErrors errors;
  Passphrase passphrase(options);
  const Key key(PEM_read_bio_PrivateKey(readerOf(*keyText).get(), nullptr, &Passphrase::give, &passphrase));
  if (!key) return invalid("privateKey", passphrase.reason(*keyText));
  if (X509_check_private_key(certificates->front().get(), key.get()) != 1) {
    return invalid("privateKey", "isn't the key of the first certificate of tls.certificate");
  }
  if (!areTaken(*certificates, key.get())) {
    const auto* const reason = ERR_reason_error_string(ERR_peek_last_error());
    return invalid("certificate", std::string("isn't one that OpenSSL uses for TLS on this system: ") +
                                      (reason ? reason : "no reason given"));
  }
  const auto written = writer();
  for (const auto& certificate : *certificates) {
    if (PEM_write_bio_X509(written.get(), certificate.get()) != 1) throw std::bad_alloc();
  }
  material.certificates = textOf(written);
  const auto writtenKey = writer();
  if (PEM_write_bio_PrivateKey(writtenKey.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1) {
    return invalid("privateKey", "has a kind of key that can't be used");
  }
  material.privateKey = textOf(writtenKey);
  return {};
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
  TLSMaterial material;
  material.lowestVersion = options.lowestVersion;
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
  if (auto read = readIdentity(options, material); !read) return std::unexpected(std::move(read.error()));
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
