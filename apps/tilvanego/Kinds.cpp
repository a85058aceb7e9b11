#include "Kinds.h"

#include <array>
#include <utility>

#include <tilvanego/facade/OperationFunctions.h>

#include "EventWriter.h"
#include "HostSession.h"
#include "RequestReader.h"
#include "ResultWriter.h"

namespace tilvanego::program {
namespace {

/// A completion that writes its result.
template <OperationKind kind>
typename OperationFunctions<kind>::Completion shownCompletion(HostSession& session) {
  return [&session](const auto& result) {
    session.events().write(JSONObject().add("completion", rawText(kind)).add("value", resultObject(result)));
  };
}

template <typename Result>
std::optional<JSONObject> optionalResultObject(const std::optional<Result>& result) {
  return result ? std::optional(resultObject(*result)) : std::nullopt;
}

template <OperationKind kind>
HostAction readStart(FieldReader& line) {
  auto request = readRecord<typename OperationFunctions<kind>::Request>(line, "request");
  return [request = std::move(request)](HostSession& session) {
    (session.sdk().*operationFunctions<kind>.start)(request, shownCompletion<kind>(session));
  };
}

/// Only the payment has several transports.
template <>
HostAction readStart<OperationKind::payment>(FieldReader& line) {
  auto request = readRecord<PaymentRequest>(line, "request");
  return [request = std::move(request), transport = readTransport(line)](HostSession& session) {
    auto completion = shownCompletion<OperationKind::payment>(session);
    if (transport) {
      session.sdk().startPayment(request, *transport, std::move(completion));
    } else {
      session.sdk().startPayment(request, std::move(completion));
    }
  };
}

template <OperationKind kind>
constexpr Kind row() {
  return {
      .readStart = &readStart<kind>,
      .isInProgress = [](const TilvaneGo& sdk) { return (sdk.*operationFunctions<kind>.isInProgress)(); },
      .cancel = [](TilvaneGo& sdk) { (sdk.*operationFunctions<kind>.cancel)(); },
      .resume =
          [](HostSession& session) {
            auto completion = shownCompletion<kind>(session);
            return (session.sdk().*operationFunctions<kind>.resume)(std::move(completion)).has_value();
          },
      .forgetInterrupted = [](TilvaneGo& sdk) { return (sdk.*operationFunctions<kind>.forgetInterrupted)(); },
      .isCallback = [](const TilvaneGo& sdk,
                       const URL& url) { return (sdk.*operationFunctions<kind>.isCallback)(url); },
      .result =
          [](const TilvaneGo& sdk, const URL& url) {
            return optionalResultObject((sdk.*operationFunctions<kind>.result)(url));
          },
      .parse =
          [](const URL& url, const std::optional<std::string>& requestId,
             const std::optional<URL>& callbackURL) {
            return optionalResultObject(operationFunctions<kind>.parse(url, requestId, callbackURL));
          },
  };
}

constexpr auto table = [] {
  std::array<Kind, operationKinds.size()> rows{};
  auto next = rows.begin();
  forEachOperation([&]<OperationKind kind>() { *next++ = row<kind>(); });
  return rows;
}();

}  // namespace

const Kind& kindOf(OperationKind kind) { return table.at(static_cast<std::size_t>(kind)); }

HostAction readSendRequestAction(FieldReader& line) {
  return [texts = readSendRequest(line)](HostSession& session) {
    session.sdk().sendRequest(texts.requestId, texts.amount, texts.type, texts.currency, texts.returnUrl,
                              texts.customId, texts.notes, shownCompletion<OperationKind::payment>(session));
  };
}

}  // namespace tilvanego::program
