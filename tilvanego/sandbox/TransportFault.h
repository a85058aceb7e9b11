#pragma once

#include <array>
#include <string_view>
#include <utility>

#include <tilvanego/values/RawText.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

// Enumerations write their raw texts.
using tilvanego::operator<<;

/// A fault in the envelope of a response, in addition to the outcomes `tampered` and `expired`. It doesn't
/// change the response in the envelope.
enum class TransportFault {
  /// The callback names another handoff than the one on the pasteboard.
  foreignHandoff,
  /// The envelope has the id of another request.
  wrongRequestId,
  /// The envelope has the direction of a request.
  wrongDirection,
  /// The sealed or compressed payload is not JSON.
  notJSON,
  /// The payload size in the callback is too large by one byte.
  wrongPayloadSize,
  /// The compressed size in the callback is too large by one byte.
  wrongCompressedSize,
};

}  // namespace sandbox
}  // namespace tilvanego

template <>
struct tilvanego::RawTexts<tilvanego::sandbox::TransportFault> {
  using enum sandbox::TransportFault;
  static constexpr std::array table{
      std::pair{foreignHandoff, std::string_view("foreign-handoff")},
      std::pair{wrongRequestId, std::string_view("wrong-request-id")},
      std::pair{wrongDirection, std::string_view("wrong-direction")},
      std::pair{notJSON, std::string_view("not-json")},
      std::pair{wrongPayloadSize, std::string_view("wrong-payload-size")},
      std::pair{wrongCompressedSize, std::string_view("wrong-compressed-size")},
  };
};
