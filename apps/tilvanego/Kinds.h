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

/// The action of a line of a script.
using HostAction = std::function<void(HostSession& session)>;

/// An operation as a script uses it, by the library's public functions.
struct Kind {
  /// Reads the fields of "start" after the kind.
  HostAction (*readStart)(FieldReader& line);
  bool (*isInProgress)(const TilvaneGo& sdk);
  void (*cancel)(TilvaneGo& sdk);
  /// Returns false if there is nothing to resume.
  bool (*resume)(HostSession& session);
  bool (*forgetInterrupted)(TilvaneGo& sdk);
  bool (*isCallback)(const TilvaneGo& sdk, const URL& url);
  std::optional<JSONObject> (*result)(const TilvaneGo& sdk, const URL& url);
  std::optional<JSONObject> (*parse)(const URL& url, const std::optional<std::string>& expectedRequestId,
                                     const std::optional<URL>& expectedCallbackURL);
};

[[nodiscard]] const Kind& kindOf(OperationKind kind);

/// Reads the line of the older function that starts a payment.
[[nodiscard]] HostAction readSendRequestAction(FieldReader& line);

}  // namespace tilvanego::program
