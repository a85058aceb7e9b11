#include <boost/url.hpp>
#include <uriparser/Uri.h>

#include "links.h"

namespace tilvanego::bench {

namespace boostURL {

std::optional<Read> read(std::string_view text) {
  const auto url = boost::urls::parse_uri({text.data(), text.size()});
  if (!url) return std::nullopt;
  const auto parts = *url;
  if (parts.scheme() != "myshop" || parts.encoded_host() != "payment-done" ||
      parts.encoded_path() != "/receipt") {
    return std::nullopt;
  }
  Read result;
  result.callback = text;
  boost::urls::encoding_opts options;
  options.space_as_plus = false;
  for (const auto& param : parts.encoded_params()) {
    const std::size_t field = fieldOf({param.key.data(), param.key.size()});
    if (field >= 6 || result.fields[field]) continue;
    result.fields[field].emplace();
    param.value.decode(options, boost::urls::string_token::assign_to(*result.fields[field]));
  }
  return decide(result) ? std::optional(std::move(result)) : std::nullopt;
}

std::string build() {
  boost::urls::url url("tilvanego://payment/v1/start");
  url.reserve(600);
  auto params = url.params();
  for (const auto& [name, value] : items) {
    params.append({boost::core::string_view(name.data(), name.size()),
                   boost::core::string_view(value.data(), value.size())});
  }
  return std::string(url.buffer().data(), url.buffer().size());
}

}  // namespace boostURL

namespace uriparser {

std::optional<Read> read(std::string_view text) {
  UriUriA uri;
  const char* error = nullptr;
  if (uriParseSingleUriExA(&uri, text.data(), text.data() + text.size(), &error) != URI_SUCCESS)
    return std::nullopt;
  const auto view = [](const UriTextRangeA& range) {
    return std::string_view(range.first, static_cast<std::size_t>(range.afterLast - range.first));
  };
  UriQueryListA* list = nullptr;
  int count = 0;
  std::optional<Read> result;
  if (view(uri.scheme) == "myshop" && view(uri.hostText) == "payment-done" &&
      uriDissectQueryMallocExA(&list, &count, uri.query.first, uri.query.afterLast, URI_FALSE,
                               URI_BR_DONT_TOUCH) == URI_SUCCESS) {
    result.emplace();
    result->callback = text;
    for (const UriQueryListA* item = list; item != nullptr; item = item->next) {
      const std::size_t field = fieldOf(item->key);
      if (field < 6 && !result->fields[field] && item->value != nullptr) result->fields[field] = item->value;
    }
    uriFreeQueryListA(list);
  }
  uriFreeUriMembersA(&uri);
  if (result && !decide(*result)) result.reset();
  return result;
}

std::string build() {
  std::array<UriQueryListA, 12> list{};
  for (std::size_t i = 0; i < items.size(); ++i) {
    list[i].key = items[i].name.data();
    list[i].value = items[i].value.data();
    list[i].next = i + 1 < items.size() ? &list[i + 1] : nullptr;
  }
  int needed = 0;
  uriComposeQueryCharsRequiredExA(list.data(), &needed, URI_FALSE, URI_FALSE);
  std::string out = "tilvanego://payment/v1/start?";
  const std::size_t start = out.size();
  out.resize(start + static_cast<std::size_t>(needed) + 1);
  int written = 0;
  uriComposeQueryExA(out.data() + start, list.data(), needed + 1, &written, URI_FALSE, URI_FALSE);
  out.resize(start + static_cast<std::size_t>(written) - 1);
  return out;
}

}  // namespace uriparser
}  // namespace tilvanego::bench
