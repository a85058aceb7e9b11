#include "Kinds.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <tilvanego/facade/TilvaneGoSDK.h>

#include "EventWriter.h"
#include "HostSession.h"
#include "RequestReader.h"
#include "ResultWriter.h"

namespace tilvanego::program {
namespace {

/// A completion that shows its result.
template <class Result>
std::function<void(const Result&)> shownCompletion(HostSession& session, std::string_view kind) {
  return [&session, kind](const Result& result) {
    session.events().write(JSONObject().add("completion", kind).add("value", resultObject(result)));
  };
}

template <class Result>
std::optional<JSONObject> optionalResultObject(const std::optional<Result>& result) {
  return result ? std::optional(resultObject(*result)) : std::nullopt;
}

/// The row of a kind, from its public functions.
template <HostAction (*ReadStart)(FieldReader&), auto IsInProgress, auto Cancel, auto IsCallback,
          auto ResultFrom, auto Parse>
constexpr Kind kind(std::string_view name) {
  return {
      .name = name,
      .readStart = ReadStart,
      .isInProgress = [](const TilvaneGo& sdk) { return (sdk.*IsInProgress)(); },
      .cancel = [](TilvaneGo& sdk) { (sdk.*Cancel)(); },
      .isCallback = [](const TilvaneGo& sdk, const URL& url) { return (sdk.*IsCallback)(url); },
      .result = [](const TilvaneGo& sdk,
                   const URL& url) { return optionalResultObject((sdk.*ResultFrom)(url)); },
      .parse =
          [](const URL& url, const std::optional<std::string>& requestId,
             const std::optional<URL>& callbackURL) {
            return optionalResultObject(Parse(url, requestId, callbackURL));
          },
  };
}

/// The row of a kind whose operation the library doesn't have yet.
constexpr Kind missingKind(std::string_view name) {
  return {name, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
}

HostAction readStartPayment(FieldReader& line) {
  auto request = readRequest<PaymentRequest>(line);
  const auto transport = readTransport(line);
  if (transport && *transport != PaymentLaunchTransport::urlScheme()) {
    line.refuse("The transport " + transport->text() + R"( isn't available yet; use "urlScheme".)");
  }
  return [request = std::move(request)](HostSession& session) {
    session.sdk().startPayment(request, shownCompletion<PaymentResult>(session, "payment"));
  };
}

constexpr std::array table{
    kind<&readStartPayment, &TilvaneGo::isPaymentInProgress, &TilvaneGo::cancelPendingPayment,
         &TilvaneGo::isPaymentCallback, &TilvaneGo::paymentResult, &TilvaneGo::parsePaymentResult>("payment"),
    missingKind("initialization"),
    missingKind("transactionList"),
    missingKind("fullRefund"),
    missingKind("partialRefund"),
    missingKind("capture"),
    missingKind("clearData"),
    missingKind("reboot"),
    missingKind("save"),
};

}  // namespace

std::span<const Kind> kinds() { return table; }

HostAction readSendRequestAction(FieldReader& line) {
  static_cast<void>(readSendRequest(line));
  line.refuse(R"("sendRequest" isn't available yet; use {"start": "payment", ...}.)");
  return nullptr;
}

std::string FieldType<const Kind*>::wanted() {
  std::vector<std::string_view> names;
  for (const Kind& one : table) names.push_back(one.name);
  return listed(names, "or");
}

std::optional<const Kind*> FieldType<const Kind*>::read(const JSONValue& value) {
  const std::string* name = value.stringValue();
  if (name == nullptr) return std::nullopt;
  const auto found = std::ranges::find(table, std::string_view(*name), &Kind::name);
  return found == table.end() ? std::nullopt : std::optional(&*found);
}

const Kind* FieldType<const Kind*>::blank() { return &table.front(); }

}  // namespace tilvanego::program
