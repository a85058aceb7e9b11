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

constexpr std::string_view paymentName = "payment";

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

/// The types of an operation, from its start function.
template <class Start>
struct StartTypes;
template <class RequestType, class ResultType>
struct StartTypes<void (TilvaneGo::*)(RequestType, std::function<void(const ResultType&)>)> {
  using Request = RequestType;
  using Result = ResultType;
};

template <auto Start>
HostAction readStart(const Kind& kind, FieldReader& line) {
  using Types = StartTypes<decltype(Start)>;
  auto request = readRequest<typename Types::Request>(line);
  return [name = kind.name, request = std::move(request)](HostSession& session) {
    (session.sdk().*Start)(request, shownCompletion<typename Types::Result>(session, name));
  };
}

/// The payment alone has a choice of transports.
HostAction readStartPayment(const Kind& kind, FieldReader& line) {
  auto request = readRequest<PaymentRequest>(line);
  return [name = kind.name, request = std::move(request),
          transport = readTransport(line)](HostSession& session) {
    auto completion = shownCompletion<PaymentResult>(session, name);
    if (transport) {
      session.sdk().startPayment(request, *transport, std::move(completion));
    } else {
      session.sdk().startPayment(request, std::move(completion));
    }
  };
}

/// The row of a kind, from its public functions.
template <auto ReadStart, auto IsInProgress, auto Cancel, auto IsCallback, auto ResultFrom, auto Parse>
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

using Sdk = TilvaneGo;

constexpr std::array table{
    kind<&readStartPayment, &Sdk::isPaymentInProgress, &Sdk::cancelPendingPayment, &Sdk::isPaymentCallback,
         &Sdk::paymentResult, &Sdk::parsePaymentResult>(paymentName),
    kind<&readStart<&Sdk::initialize>, &Sdk::isInitializationInProgress, &Sdk::cancelPendingInitialization,
         &Sdk::isInitializationCallback, &Sdk::initializationResult, &Sdk::parseInitializationResult>(
        "initialization"),
    kind<&readStart<&Sdk::getTransactionList>, &Sdk::isTransactionListInProgress,
         &Sdk::cancelPendingTransactionList, &Sdk::isTransactionListCallback, &Sdk::transactionListResult,
         &Sdk::parseTransactionListResult>("transactionList"),
    kind<&readStart<&Sdk::fullRefund>, &Sdk::isFullRefundInProgress, &Sdk::cancelPendingFullRefund,
         &Sdk::isFullRefundCallback, &Sdk::fullRefundResult, &Sdk::parseFullRefundResult>("fullRefund"),
    kind<&readStart<&Sdk::partialRefund>, &Sdk::isPartialRefundInProgress, &Sdk::cancelPendingPartialRefund,
         &Sdk::isPartialRefundCallback, &Sdk::partialRefundResult, &Sdk::parsePartialRefundResult>(
        "partialRefund"),
    kind<&readStart<&Sdk::capture>, &Sdk::isCaptureInProgress, &Sdk::cancelPendingCapture,
         &Sdk::isCaptureCallback, &Sdk::captureResult, &Sdk::parseCaptureResult>("capture"),
    kind<&readStart<&Sdk::clearData>, &Sdk::isClearDataInProgress, &Sdk::cancelPendingClearData,
         &Sdk::isClearDataCallback, &Sdk::clearDataResult, &Sdk::parseClearDataResult>("clearData"),
    kind<&readStart<&Sdk::reboot>, &Sdk::isRebootInProgress, &Sdk::cancelPendingReboot,
         &Sdk::isRebootCallback, &Sdk::rebootResult, &Sdk::parseRebootResult>("reboot"),
    kind<&readStart<&Sdk::save>, &Sdk::isSaveInProgress, &Sdk::cancelPendingSave, &Sdk::isSaveCallback,
         &Sdk::saveResult, &Sdk::parseSaveResult>("save"),
};

}  // namespace

std::span<const Kind> kinds() { return table; }

HostAction readSendRequestAction(FieldReader& line) {
  return [texts = readSendRequest(line)](HostSession& session) {
    session.sdk().sendRequest(texts.requestId, texts.amount, texts.type, texts.currency, texts.returnUrl,
                              texts.customId, texts.notes,
                              shownCompletion<PaymentResult>(session, paymentName));
  };
}

std::string FieldType<const Kind*>::wanted() {
  std::vector<std::string_view> names;
  names.reserve(table.size());
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
