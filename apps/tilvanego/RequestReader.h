#pragma once

#include <optional>
#include <string>

#include <tilvanego/payment/PaymentCredentials.h>
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
