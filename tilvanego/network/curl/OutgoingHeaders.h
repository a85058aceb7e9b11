#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <curl/curl.h>

#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/values/Lifetime.h>

namespace tilvanego::detail {

/// A field of a credential.
struct CredentialField {
  std::string_view name;
  /// No field if it is empty.
  std::string_view value;
};

/// The body of a request, by the fields that libcurl would add for it.
enum class OutgoingBody : std::uint8_t {
  none,
  /// So small that libcurl sends it without an "Expect". Its limit is 1 MiB.
  small,
  any
};

/// The header fields of a request as a list of libcurl, in memory that is reused for the next request and
/// wiped at the end.
class OutgoingHeaders {
 public:
  OutgoingHeaders() = default;
  OutgoingHeaders(const OutgoingHeaders&) = delete;
  OutgoingHeaders& operator=(const OutgoingHeaders&) = delete;
  ~OutgoingHeaders();

  /// Sets the fields, which must have been checked, and an "Accept-Encoding" unless they contain one.
  /// Prevents libcurl from adding "Content-Type" to any body and "Expect" to a long one, unless the fields
  /// contain them. `credential` replaces the fields of its name. A "Proxy-Authorization" is left out: it must
  /// not go through a tunnel.
  void set(const HTTPHeaders& fields, OutgoingBody body, const CredentialField& credential = {});
  /// Sets one field.
  void set(const CredentialField& credential);
  /// Wipes the fields.
  void clear();
  /// What the fields take in a request, in bytes: in HTTP/2 each counts as 12 more than its name and value.
  [[nodiscard]] std::size_t size() const { return text_.size() + 12 * starts_.size(); }
  /// Valid until the next `set` or `clear`; null without fields.
  [[nodiscard]] curl_slist* list() TILVANEGO_LIFETIMEBOUND;

 private:
  void add(std::string_view name, std::string_view value);
  void suppress(std::string_view name);
  void link();

  /// All lines, each followed by NUL.
  std::string text_;
  std::vector<std::size_t> starts_;
  std::vector<curl_slist> nodes_;
  /// The request has no fields of its own, and nothing of it is stored here.
  bool isPlain_ = false;
};

}  // namespace tilvanego::detail
