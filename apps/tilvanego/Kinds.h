#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <tilvanego/values/URL.h>

#include "FieldReader.h"
#include "JSONText.h"

namespace tilvanego {
class TilvaneGo;
}

namespace tilvanego::program {

class EventWriter;
class HostSession;

/// What one line of a script does once it has been read without fault.
using HostAction = std::function<void(HostSession& session)>;

/// One of the operations that a script drives, by the library's public functions.
struct Kind {
  std::string_view name;
  /// Reads what "start" needs beside the kind.
  HostAction (*readStart)(const Kind& kind, FieldReader& line);
  bool (*isInProgress)(const TilvaneGo& sdk);
  void (*cancel)(TilvaneGo& sdk);
  bool (*isCallback)(const TilvaneGo& sdk, const URL& url);
  std::optional<JSONObject> (*result)(const TilvaneGo& sdk, const URL& url);
  std::optional<JSONObject> (*parse)(const URL& url, const std::optional<std::string>& expectedRequestId,
                                     const std::optional<URL>& expectedCallbackURL);
};

[[nodiscard]] std::span<const Kind> kinds();

/// Reads the older entry of the payment.
[[nodiscard]] HostAction readSendRequestAction(FieldReader& line);

template <>
struct FieldType<const Kind*> {
  static std::string wanted();
  static std::optional<const Kind*> read(const JSONValue& value);
  static const Kind* blank();
};

}  // namespace tilvanego::program
