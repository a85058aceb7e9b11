#include "PendingText.h"

#include <string>
#include <variant>

#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/values/DateFormats.h>

#include "HostSession.h"
#include "JSONText.h"

namespace tilvanego::program {
namespace {

std::string nameOf(const PaymentLaunchTransport& transport) {
  const bool isAutomatic = std::holds_alternative<PaymentLaunchTransport::Automatic>(transport.variant());
  return isAutomatic ? "automatic" : transport.text();
}

/// The fields that both lists have.
JSONObject operationObject(const auto& one) {
  return JSONObject()
      .add("operation", one.kind)
      .add("requestId", one.requestId)
      .add("startedAt", internetDateText(one.startedAt));
}

}  // namespace

void writePending(HostSession& session) {
  JSONList list;
  for (const auto& one : session.sdk().pendingOperations()) {
    list.add(operationObject(one).add("transport", one.transport.transform(nameOf)));
  }
  session.events().write(JSONObject().add("pending", list.finish()));
}

void writeInterrupted(HostSession& session) {
  JSONList list;
  for (const auto& one : session.sdk().interruptedOperations()) {
    list.add(operationObject(one).add("callbackReceived", one.callbackReceived));
  }
  session.events().write(JSONObject().add("interrupted", list.finish()));
}

}  // namespace tilvanego::program
