#include <tilvanego/sandbox/LaunchLink.h>

#include <algorithm>
#include <sstream>

#include <tilvanego/frame/SecretNames.h>
#include <tilvanego/sandbox/Carried.h>
#include <tilvanego/sandbox/LinkForms.h>
#include <tilvanego/sandbox/ShownText.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/Wiping.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {
namespace {

std::string said(std::string_view what, std::string_view value) {
  return "the link's " + std::string(what) + " is " + inQuotes(value);
}

std::expected<const LinkForm*, SandboxError> formOf(const URL& link) {
  const std::string_view scheme = link.scheme().value_or("");
  if (!equalIgnoringCase(scheme, "tilvanego")) return wrong(said("scheme", scheme) + ", not \"tilvanego\"");
  const std::string host = link.host().value_or("");
  if (!equalIgnoringCase(host, "payment")) return wrong(said("host", host) + ", not \"payment\"");
  const std::string path = link.path();
  const LinkForm* const form = formWithPath(path);
  if (form == nullptr) return wrong(said("path", path) + ", which names no operation");
  return form;
}

std::expected<std::vector<QueryItem>, SandboxError> queryItems(const URL& link) {
  // More than any real link has. The limit keeps the search for duplicates short: it compares each item with
  // all before it.
  constexpr std::size_t maxItems = 64;
  std::vector<QueryItem> items;
  const detail::WipedAtEnd wiped(items);
  // Reserved: a vector that grows would leave copies of short secrets in freed memory.
  items.reserve(maxItems);
  for (const RawQueryItem& raw : link.rawQueryItems()) {
    QueryItem item{raw.decodedName(), raw.value.decoded()};
    if (!item.value) {
      return wrong("the link's item " + inQuotes(item.name) +
                   (raw.value ? " has a value that is no percent-encoded UTF-8" : " has no value"));
    }
    if (itemNamed(item.name, items) != nullptr)
      return wrong("the link has " + inQuotes(item.name) + " twice");
    if (items.size() == maxItems)
      return wrong("the link has more than " + std::to_string(maxItems) + " items");
    items.push_back(std::move(item));
  }
  return items;
}

/// The transport of a link's request. Only the link of a payment may have another one than its own items.
std::expected<Transport, SandboxError> transportOf(const LinkForm& form,
                                                   const std::vector<QueryItem>& items) {
  const QueryItem* named = form.operation == Operation::payment ? itemNamed("transport", items) : nullptr;
  if (named == nullptr) return Transport::url;
  const auto transport = fromRawText<Transport>(*named->value);
  if (!transport || transport == Transport::url)
    return wrong(said("transport", *named->value) + ", which is none");
  return *transport;
}

std::expected<URL, SandboxError> callbackURL(const std::vector<QueryItem>& items) {
  const QueryItem* item = itemNamed("return_url", items);
  if (item == nullptr) return wrong("the link has no return_url");
  auto url = URL::parse(*item->value);
  if (!url)
    return wrong(said("return_url", *item->value) + ", which is no URL: " + std::string(url.error().message));
  if (url->scheme().value_or("").empty())
    return wrong(said("return_url", *item->value) + ", which has no scheme");
  return std::move(*url);
}

}  // namespace

std::expected<LaunchLink, SandboxError> LaunchLink::read(const URL& link, const HandoffPorts& ports) {
  if (link.absoluteString().size() > maxLength) {
    return wrong("the link is longer than " + std::to_string(maxLength) + " bytes");
  }
  const auto form = formOf(link);
  if (!form) return std::unexpected(form.error());
  auto sent = queryItems(link);
  const detail::WipedAtEnd wipedSent(sent);
  if (!sent) return std::unexpected(std::move(sent).error());
  const auto transport = transportOf(**form, *sent);
  if (!transport) return std::unexpected(transport.error());
  auto items =
      *transport == Transport::url ? std::move(sent) : carriedRequest(link, *transport, *sent, ports);
  const detail::WipedAtEnd wipedItems(items);
  if (!items) return std::unexpected(std::move(items).error());

  if (auto complete = checkPresence(**form, *items); !complete) return std::unexpected(complete.error());
  auto callback = sandbox::callbackURL(*items);
  if (!callback) return std::unexpected(std::move(callback).error());
  if (auto meant = checkValues(**form, *items); !meant) return std::unexpected(meant.error());

  LaunchLink read((*form)->operation, *transport, *std::move(callback));
  read.items_ = *std::move(items);
  if (const auto id = read.item(read.operation_ == Operation::initialization ? "requestId" : "request_id")) {
    read.requestId_ = *id;
  }
  if (const auto amount = read.item("amount")) read.amount_ = Decimal::parse(*amount);
  return read;
}

LaunchLink& LaunchLink::operator=(LaunchLink other) noexcept {
  std::swap(operation_, other.operation_);
  std::swap(transport_, other.transport_);
  std::swap(callbackURL_, other.callbackURL_);
  std::swap(requestId_, other.requestId_);
  std::swap(amount_, other.amount_);
  std::swap(items_, other.items_);
  return *this;
}

LaunchLink::~LaunchLink() { detail::wipe(items_); }

std::optional<std::string_view> LaunchLink::item(std::string_view name) const {
  const QueryItem* found = itemNamed(name, items_);
  if (found == nullptr) return std::nullopt;
  return *found->value;
}

std::vector<std::string> LaunchLink::lines() const {
  std::vector<std::string> lines{std::string(rawText(operation_))};
  if (transport_ != Transport::url) lines[0].append(" by ").append(rawText(transport_));
  for (const auto& [name, value] : items_) {
    std::ostringstream line;
    line << shown(name) << ": ";
    // The host's URL may have secrets of its own.
    if (name == "return_url") {
      line << callbackURL_;
    } else {
      line << (isSecretName(name) ? "hidden" : shown(*value));
    }
    lines.push_back(std::move(line).str());
  }
  return lines;
}

}  // namespace sandbox
}  // namespace tilvanego
