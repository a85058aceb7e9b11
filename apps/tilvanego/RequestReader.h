#pragma once

#include <optional>
#include <string>

#include <tilvanego/operations/Capture.h>
#include <tilvanego/operations/ClearData.h>
#include <tilvanego/operations/FullRefund.h>
#include <tilvanego/operations/Initialization.h>
#include <tilvanego/operations/PartialRefund.h>
#include <tilvanego/operations/Reboot.h>
#include <tilvanego/operations/Save.h>
#include <tilvanego/operations/TransactionList.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>
#include <tilvanego/payment/PaymentRequest.h>

#include "FieldReader.h"

/// How the requests of a script are read, kind by kind: each field by its name, through the public
/// constructors.
namespace tilvanego::program {

/// Reads a request of one kind.
template <class Request>
struct RequestReader;

template <>
struct RequestReader<PaymentRequest> {
  static PaymentRequest read(FieldReader& fields);
};

template <>
struct RequestReader<InitializationRequest> {
  static InitializationRequest read(FieldReader& fields);
};

template <>
struct RequestReader<TransactionListRequest> {
  static TransactionListRequest read(FieldReader& fields);
};

template <>
struct RequestReader<FullRefundRequest> {
  static FullRefundRequest read(FieldReader& fields);
};

template <>
struct RequestReader<PartialRefundRequest> {
  static PartialRefundRequest read(FieldReader& fields);
};

template <>
struct RequestReader<CaptureRequest> {
  static CaptureRequest read(FieldReader& fields);
};

template <>
struct RequestReader<ClearDataRequest> {
  static ClearDataRequest read(FieldReader& fields);
};

template <>
struct RequestReader<RebootRequest> {
  static RebootRequest read(FieldReader& fields);
};

template <>
struct RequestReader<SaveRequest> {
  static SaveRequest read(FieldReader& fields);
};

/// Reads the request that `line` has under "request"; what is wrong with it is noted there.
template <class Request>
[[nodiscard]] Request readRequest(FieldReader& line) {
  FieldReader fields(line.object("request"), "request.");
  Request request = RequestReader<Request>::read(fields);
  line.refuseIf(fields.finish());
  return request;
}

/// The seven texts of the older entry.
struct SendRequestTexts {
  std::string requestId;
  std::string amount;
  std::string type;
  std::string currency;
  std::string returnUrl;
  std::string customId;
  std::string notes;
};
[[nodiscard]] SendRequestTexts readSendRequest(FieldReader& line);

/// The transport of a payment, if `line` names one.
[[nodiscard]] std::optional<PaymentLaunchTransport> readTransport(FieldReader& line);

}  // namespace tilvanego::program
