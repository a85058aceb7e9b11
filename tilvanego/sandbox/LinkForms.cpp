#include <tilvanego/sandbox/LinkForms.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include <tilvanego/frame/SecretNames.h>
#include <tilvanego/frame/Validation.h>
#include <tilvanego/operations/Operations.h>
#include <tilvanego/payment/PaymentTransactionType.h>
#include <tilvanego/sandbox/Carried.h>
#include <tilvanego/sandbox/ShownText.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/Integer.h>

namespace tilvanego::sandbox {
namespace {

using Presence = ItemForm::Presence;

std::string_view anyText(std::string_view /*value*/) { return ""; }

std::string_view notBlank(std::string_view value) { return detail::isBlank(value) ? "is blank" : ""; }

std::string_view aboveZero(const std::optional<Decimal>& number) {
  if (!number) return "is no number";
  return *number <= 0 ? "isn't greater than zero" : "";
}

std::string_view amount(std::string_view value) { return aboveZero(Decimal::parseExact(value)); }

/// The amount of a capture is a text of the host. Only its beginning must be a number.
std::string_view captureAmount(std::string_view value) { return aboveZero(Decimal::parse(value)); }

std::string_view tip(std::string_view value) {
  const auto number = Decimal::parseExact(value);
  if (!number) return "is no number";
  return *number < 0 ? "is less than zero" : "";
}

std::string_view transactionType(std::string_view value) {
  return fromRawText<PaymentTransactionType>(value) ? "" : "is none of sale, auth and save";
}

std::string_view currency(std::string_view value) {
  return detail::checkCurrency(value) ? "isn't three letters in capitals" : "";
}

std::string_view environment(std::string_view value) {
  return detail::isKnownEnvironment(value) ? "" : "is none of STAGING, CERT and PROD";
}

std::string_view boolean(std::string_view value) {
  return value == "true" || value == "false" ? "" : "is neither true nor false";
}

std::string_view timeout(std::string_view value) {
  const auto number = parseInteger(value);
  if (!number) return "is no whole number";
  return *number <= 0 ? "isn't greater than zero" : "";
}

std::string_view urlScheme(std::string_view value) { return value == "urlScheme" ? "" : "isn't urlScheme"; }

constexpr ItemForm requestId{"request_id", Presence::required, notBlank};
constexpr ItemForm transactionId{"transaction_id", Presence::required, notBlank};
constexpr ItemForm optionalText(std::string_view name) { return {name, Presence::optional, anyText}; }

constexpr std::array payment{
    requestId,
    ItemForm{"amount", Presence::required, amount},
    ItemForm{"type", Presence::required, transactionType},
    ItemForm{"currency", Presence::required, currency},
    ItemForm{"tip", Presence::optional, tip},
    optionalText("custom_id"),
    optionalText("notes"),
    ItemForm{"basic_token", Presence::withOthers, notBlank},
    ItemForm{"account_id", Presence::withOthers, notBlank},
    ItemForm{"environment", Presence::withOthers, environment},
    ItemForm{"require_reader_ready", Presence::required, boolean},
};

// Only the initialization has names in camel case, and each of its credentials may be present without the
// others.
constexpr std::array initialization{
    ItemForm{"requestId", Presence::required, notBlank},
    ItemForm{"sourceApplication", Presence::required, anyText},
    ItemForm{"transport", Presence::required, urlScheme},
    ItemForm{"basicToken", Presence::optional, notBlank},
    ItemForm{"accountId", Presence::optional, notBlank},
    ItemForm{"environment", Presence::optional, environment},
    optionalText("basePath"),
};

constexpr std::array transactionList{ItemForm{"request_id", Presence::optional, notBlank}};

constexpr std::array fullRefund{
    requestId,
    transactionId,
    ItemForm{"basic_token", Presence::required, notBlank},
    ItemForm{"account_id", Presence::required, notBlank},
    ItemForm{"environment", Presence::required, environment},
};

constexpr std::array partialRefund{
    requestId,
    transactionId,
    ItemForm{"amount", Presence::required, amount},
    ItemForm{"basic_token", Presence::required, notBlank},
    ItemForm{"account_id", Presence::required, notBlank},
    ItemForm{"environment", Presence::required, environment},
};

constexpr std::array capture{requestId, transactionId, ItemForm{"amount", Presence::required, captureAmount}};

constexpr std::array clearData{
    requestId,
    ItemForm{"amount", Presence::optional, amount},
    ItemForm{"timeout", Presence::optional, timeout},
};

constexpr std::array reboot{requestId};

constexpr std::array save{
    requestId,
    ItemForm{"currency", Presence::required, currency},
    optionalText("custom_id"),
    optionalText("notes"),
    ItemForm{"basic_token", Presence::withOthers, notBlank},
    ItemForm{"account_id", Presence::withOthers, notBlank},
    ItemForm{"environment", Presence::withOthers, environment},
};

template <Operation operation>
consteval LinkForm form(std::span<const ItemForm> items) {
  return {operation, detail::OperationOf<operation>::texts.target.path(), items};
}

constexpr std::array forms{
    form<Operation::payment>(payment),
    form<Operation::initialization>(initialization),
    form<Operation::transactionList>(transactionList),
    form<Operation::fullRefund>(fullRefund),
    form<Operation::partialRefund>(partialRefund),
    form<Operation::capture>(capture),
    form<Operation::clearData>(clearData),
    form<Operation::reboot>(reboot),
    form<Operation::save>(save),
};
static_assert(std::ranges::equal(forms, operationKinds, {}, &LinkForm::operation),
              "each operation has a row, in the order of the list");

}  // namespace

const LinkForm* formWithPath(std::string_view path) {
  const auto* form = std::ranges::find(forms, path, &LinkForm::path);
  return form == forms.end() ? nullptr : form;
}

const QueryItem* itemNamed(std::string_view name, const std::vector<QueryItem>& items) {
  const auto found = std::ranges::find(items, name, &QueryItem::name);
  return found == items.end() ? nullptr : &*found;
}

bool hasItem(Operation operation, std::string_view name) {
  const LinkForm& form = *std::ranges::find(forms, operation, &LinkForm::operation);
  return std::ranges::find(form.items, name, &ItemForm::name) != form.items.end();
}

std::expected<void, SandboxError> checkPresence(const LinkForm& form, const std::vector<QueryItem>& items) {
  const bool hasCredentials = std::ranges::any_of(form.items, [&](const ItemForm& item) {
    return item.presence == Presence::withOthers && itemNamed(item.name, items) != nullptr;
  });
  for (const ItemForm& item : form.items) {
    const bool isNeeded =
        item.presence == Presence::required || (item.presence == Presence::withOthers && hasCredentials);
    if (isNeeded && itemNamed(item.name, items) == nullptr)
      return wrong("the link has no " + std::string(item.name));
  }
  return {};
}

std::expected<void, SandboxError> checkValues(const LinkForm& form, const std::vector<QueryItem>& items) {
  for (const ItemForm& item : form.items) {
    const QueryItem* const found = itemNamed(item.name, items);
    if (found == nullptr) continue;
    const std::string_view fault = item.fault(*found->value);
    if (fault.empty()) continue;
    const bool isQuoted = !isSecretName(item.name) && !detail::isBlank(*found->value);
    const std::string value = !isQuoted ? " " : " is " + inQuotes(*found->value) + ", which ";
    return wrong("the link's " + std::string(item.name) + value + std::string(fault));
  }
  return {};
}

}  // namespace tilvanego::sandbox
