#include <tilvanego/network/curl/TLSSettings.h>

#include <memory>
#include <new>
#include <string>

#include <tilvanego/values/Release.h>

namespace tilvanego::detail {
namespace {

/// Sets options until one fails.
class Options {
 public:
  explicit Options(CURL* handle) : handle_(handle) {}

  template <typename Value>
  void set(CURLoption option, Value value) {
    if (result_ == CURLE_OK) result_ = curl_easy_setopt(handle_, option, value);
  }
  // libcurl reads the text itself, not a copy.
  void setText(CURLoption option, const std::string& text) {
    curl_blob blob{const_cast<char*>(text.data()), text.size(), CURL_BLOB_NOCOPY};
    set(option, &blob);
  }
  [[nodiscard]] CURLcode result() const { return result_; }

 private:
  CURL* handle_;
  CURLcode result_ = CURLE_OK;
};

TransportError invalid(const char* message) { return {TransportError::Code::invalidTLSOptions, message}; }

}  // namespace

std::expected<TLSMaterial, TransportError> readTLS(URLSessionConfiguration& configuration) {
  auto& options = configuration.tls;
  if (options.authorities.isSet() && !configuration.additionalCertificates.empty()) {
    return std::unexpected(invalid(
        "tls.authorities replaces the system's authorities, additionalCertificates adds to them: set one"));
  }
  auto material = TLSMaterial::read(options);
  support::wipe(options.certificate.text);
  support::wipe(options.privateKey.text);
  options.passphrase = nullptr;
  if (!material) return material;
  const std::unique_ptr<CURL, Release<curl_easy_cleanup>> handle(curl_easy_init());
  if (!handle) throw std::bad_alloc();
  const auto result = setTLS(handle.get(), *material, Identity::shown);
  if (result == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (result != CURLE_OK) {
    return std::unexpected(invalid("libcurl's TLS library doesn't support one of the options"));
  }
  return material;
}

CURLcode setTLS(CURL* handle, const TLSMaterial& material, Identity identity) {
  Options options(handle);
  const long version =
      material.lowestVersion == TLSVersion::v1_3 ? CURL_SSLVERSION_TLSv1_3 : CURL_SSLVERSION_TLSv1_2;
  options.set(CURLOPT_SSLVERSION, version);
  options.set(CURLOPT_PROXY_SSLVERSION, version);
  if (!material.authorities.empty()) {
    options.setText(CURLOPT_CAINFO_BLOB, material.authorities);
    // The system's authorities.
    options.set(CURLOPT_CAINFO, static_cast<char*>(nullptr));
    options.set(CURLOPT_CAPATH, static_cast<char*>(nullptr));
  }
  if (!material.pinnedKeys.empty()) options.set(CURLOPT_PINNEDPUBLICKEY, material.pinnedKeys.c_str());
  if (identity == Identity::shown && !material.privateKey.empty()) {
    options.setText(CURLOPT_SSLCERT_BLOB, material.certificates);
    options.setText(CURLOPT_SSLKEY_BLOB, material.privateKey);
  }
  return options.result();
}

}  // namespace tilvanego::detail
