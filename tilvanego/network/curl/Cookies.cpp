#include <tilvanego/network/curl/Cookies.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include <tilvanego/values/Integer.h>
#include <tilvanego/values/Release.h>

namespace tilvanego::detail {
namespace {

using Handle = std::unique_ptr<CURL, Release<curl_easy_cleanup>>;

Handle handleFor(CURLSH* share) {
  Handle handle(curl_easy_init());
  if (handle) curl_easy_setopt(handle.get(), CURLOPT_SHARE, share);
  return handle;
}

}  // namespace

std::optional<HTTPCookie> cookieFrom(std::string_view line) {
  std::array<std::string_view, 7> fields;
  for (std::size_t i = 0; i + 1 < fields.size(); ++i) {
    const auto tab = line.find('\t');
    if (tab == line.npos) return std::nullopt;
    fields[i] = line.substr(0, tab);
    line.remove_prefix(tab + 1);
  }
  fields.back() = line;
  auto& [domain, subdomains, path, secure, expires, name, value] = fields;
  constexpr std::string_view httpOnly = "#HttpOnly_";
  const bool isHTTPOnly = domain.starts_with(httpOnly);
  if (isHTTPOnly) domain.remove_prefix(httpOnly.size());
  if (domain.starts_with('.')) domain.remove_prefix(1);
  const auto seconds = wholeNumber<std::int64_t>(expires);
  if (!seconds) return std::nullopt;
  HTTPCookie cookie{.name = std::string(name),
                    .value = std::string(value),
                    .domain = std::string(domain),
                    .includesSubdomains = subdomains == "TRUE",
                    .path = std::string(path),
                    .isSecure = secure == "TRUE",
                    .isHTTPOnly = isHTTPOnly};
  if (*seconds != 0) cookie.expires = std::chrono::sys_seconds(std::chrono::seconds(*seconds));
  return cookie;
}

std::vector<HTTPCookie> cookiesOf(CURLSH* share) {
  const auto handle = handleFor(share);
  if (!handle) throw std::bad_alloc();
  curl_slist* lines = nullptr;
  curl_easy_getinfo(handle.get(), CURLINFO_COOKIELIST, &lines);
  const std::unique_ptr<curl_slist, Release<curl_slist_free_all>> owned(lines);
  std::vector<HTTPCookie> cookies;
  for (const auto* line = lines; line; line = line->next) {
    if (auto cookie = cookieFrom(line->data)) cookies.push_back(*std::move(cookie));
  }
  return cookies;
}

void deleteCookies(CURLSH* share) {
  if (const auto handle = handleFor(share)) curl_easy_setopt(handle.get(), CURLOPT_COOKIELIST, "ALL");
}

}  // namespace tilvanego::detail
