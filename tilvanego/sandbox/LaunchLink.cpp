#include <tilvanego/sandbox/LaunchLink.h>

#include <algorithm>

#include <tilvanego/sandbox/CarriedRequest.h>
#include <tilvanego/values/Text.h>

namespace tilvanego::sandbox {
namespace {

/// What the link of an operation must hold, beside its return URL.
struct LinkForm {
  Operation operation;
  std::string_view path;
  std::array<std::string_view, 6> required;
};

// The initialization alone writes its request id in camel case, and a transaction list may do without one.
constexpr std::array forms{
    LinkForm{Operation::payment,
             "/v1/start",
             {"request_id", "amount", "type", "currency", "require_reader_ready"}},
    LinkForm{Operation::initialization, "/v1/initialize", {"requestId", "sourceApplication", "transport"}},
    LinkForm{Operation::transactionList, "/v1/getTransactionList", {}},
    LinkForm{Operation::fullRefund,
             "/v1/full_refund",
             {"request_id", "transaction_id", "basic_token", "account_id", "environment"}},
    LinkForm{Operation::partialRefund,
             "/v1/refund",
             {"request_id", "transaction_id", "amount", "basic_token", "account_id", "environment"}},
    LinkForm{Operation::capture, "/v1/capture", {"request_id", "transaction_id", "amount"}},
    LinkForm{Operation::clearData, "/v1/clear_data", {"request_id"}},
    LinkForm{Operation::reboot, "/v1/reboot", {"request_id"}},
    LinkForm{Operation::save, "/v1/save", {"request_id", "currency"}},
};
static_assert(forms.size() == allCases<Operation>().size());

/// UTF-8 text for a terminal, which would obey the controls of both sets: they are escaped.
std::string shown(std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string shown;
  const auto escape = [&](unsigned char control) {
    shown.append("\\u{").append({digits[control >> 4U], digits[control & 0xFU], '}'});
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    if (byte < 0x20 || byte == 0x7F) {
      escape(byte);
    } else if (byte == 0xC2 && next >= 0x80 && next <= 0x9F) {
      escape(next);
      ++i;
    } else {
      shown += text[i];
    }
  }
  return shown;
}

std::string quoted(std::string_view text) { return '"' + shown(text) + '"'; }

std::unexpected<SandboxError> wrong(std::string message) {
  return std::unexpected(SandboxError{std::move(message)});
}

std::string said(std::string_view what, std::string_view value) {
  return "the link's " + std::string(what) + " is " + quoted(value);
}

std::expected<const LinkForm*, SandboxError> formOf(const URL& link) {
  const std::string_view scheme = link.scheme().value_or("");
  if (!equalIgnoringCase(scheme, "tilvanego")) return wrong(said("scheme", scheme) + ", not \"tilvanego\"");
  const std::string host = link.host().value_or("");
  if (!equalIgnoringCase(host, "payment")) return wrong(said("host", host) + ", not \"payment\"");
  const std::string path = link.path();
  const auto* form = std::ranges::find(forms, path, &LinkForm::path);
  if (form == forms.end()) return wrong(said("path", path) + ", which names no operation");
  return form;
}

const QueryItem* find(const std::vector<QueryItem>& items, std::string_view name) {
  const auto found = std::ranges::find(items, name, &QueryItem::name);
  return found == items.end() ? nullptr : &*found;
}

std::expected<std::vector<QueryItem>, SandboxError> queryItems(const URL& link) {
  // Far more than any link has, and few enough to be compared with each other.
  constexpr std::size_t maxItems = 64;
  std::vector<QueryItem> items;
  for (const RawQueryItem& raw : link.rawQueryItems()) {
    QueryItem item{raw.decodedName(), raw.value.decoded()};
    if (!item.value) {
      return wrong("the link's item " + quoted(item.name) +
                   (raw.value ? " has a value that is no percent-encoded UTF-8" : " has no value"));
    }
    if (find(items, item.name) != nullptr) return wrong("the link has " + quoted(item.name) + " twice");
    if (items.size() == maxItems)
      return wrong("the link has more than " + std::to_string(maxItems) + " items");
    items.push_back(std::move(item));
  }
  return items;
}

/// How a payment's link says that its request travels elsewhere than in its items.
std::expected<Transport, SandboxError> transportOf(const LinkForm& form,
                                                   const std::vector<QueryItem>& items) {
  const QueryItem* named = form.operation == Operation::payment ? find(items, "transport") : nullptr;
  if (named == nullptr) return Transport::url;
  const auto transport = fromRawText<Transport>(*named->value);
  if (!transport || transport == Transport::url)
    return wrong(said("transport", *named->value) + ", which is none");
  return *transport;
}

std::expected<URL, SandboxError> callbackURL(const std::vector<QueryItem>& items) {
  const QueryItem* item = find(items, "return_url");
  if (item == nullptr) return wrong("the link has no return_url");
  auto url = URL::parse(*item->value);
  if (!url)
    return wrong(said("return_url", *item->value) + ", which is no URL: " + std::string(url.error().message));
  if (url->scheme().value_or("").empty())
    return wrong(said("return_url", *item->value) + ", which has no scheme");
  return std::move(*url);
}

bool isSecret(std::string_view name) {
  const std::string lower = lowercased(name);
  return lower == "basic_token" || lower == "basictoken" || lower == "payload";
}

}  // namespace

std::expected<LaunchLink, SandboxError> LaunchLink::read(const URL& link, const HandoffPorts& ports) {
  if (link.absoluteString().size() > maxLength) {
    return wrong("the link is longer than " + std::to_string(maxLength) + " bytes");
  }
  const auto form = formOf(link);
  if (!form) return std::unexpected(form.error());
  auto items = queryItems(link);
  if (!items) return std::unexpected(std::move(items).error());
  const auto transport = transportOf(**form, *items);
  if (!transport) return std::unexpected(transport.error());
  if (*transport != Transport::url) items = carriedRequest(link, *transport, *items, ports);
  if (!items) return std::unexpected(std::move(items).error());

  for (const std::string_view name : (*form)->required) {
    if (!name.empty() && find(*items, name) == nullptr) return wrong("the link has no " + std::string(name));
  }
  auto callback = sandbox::callbackURL(*items);
  if (!callback) return std::unexpected(std::move(callback).error());

  LaunchLink read((*form)->operation, *transport, *std::move(callback));
  read.items_ = *std::move(items);
  const auto id = read.item(read.operation_ == Operation::initialization ? "requestId" : "request_id");
  if (id && trimmed(*id).empty()) return wrong("the link's request id is blank");
  if (id) read.requestId_ = *id;
  if (const auto amount = read.item("amount")) {
    read.amount_ = Decimal::parse(*amount);
    if (!read.amount_) return wrong(said("amount", *amount) + ", which is no number");
  }
  return read;
}

std::optional<std::string_view> LaunchLink::item(std::string_view name) const {
  const QueryItem* found = find(items_, name);
  if (found == nullptr) return std::nullopt;
  return *found->value;
}

std::vector<std::string> LaunchLink::lines() const {
  std::vector<std::string> lines{std::string(rawText(operation_))};
  if (transport_ != Transport::url) lines[0].append(" by ").append(rawText(transport_));
  for (const auto& [name, value] : items_) {
    lines.push_back(shown(name) + ": " + (isSecret(name) ? "hidden" : shown(*value)));
  }
  return lines;
}

}  // namespace tilvanego::sandbox
