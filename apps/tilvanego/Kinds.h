#pragma once

#include <functional>
#include <optional>
#include <string>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/values/URL.h>

#include "FieldReader.h"
#include "JSONText.h"

namespace tilvanego {
class TilvaneGo;
}

namespace tilvanego::program {

class HostSession;

/// What one line of a script does once it has been read without fault.
using HostAction = std::function<void(HostSession& session)>;

/// An operation that a script drives, by the library's public functions.
struct Kind {
  /// Reads what "start" needs beside the kind.
  HostAction (*readStart)(FieldReader& line);
  bool (*isInProgress)(const TilvaneGo& sdk);
  void (*cancel)(TilvaneGo& sdk);
  bool (*isCallback)(const TilvaneGo& sdk, const URL& url);
  std::optional<JSONObject> (*result)(const TilvaneGo& sdk, const URL& url);
  std::optional<JSONObject> (*parse)(const URL& url, const std::optional<std::string>& expectedRequestId,
                                     const std::optional<URL>& expectedCallbackURL);
};

[[nodiscard]] const Kind& kindOf(OperationKind kind);

/// Reads the older entry of the payment.
[[nodiscard]] HostAction readSendRequestAction(FieldReader& line);

}  // namespace tilvanego::program
