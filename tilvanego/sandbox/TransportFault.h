#pragma once

#include <array>
#include <string_view>
#include <utility>

#include <tilvanego/values/RawText.h>

namespace tilvanego::sandbox {

/// What goes wrong with the envelope of an answer, beside the outcomes `tampered` and `expired`. The answer
/// in it stays what the outcome makes it.
enum class TransportFault {
  /// The pasteboard holds the envelope of another handoff than the callback names.
  foreignHandoff,
  /// The envelope says that it answers another request.
  wrongRequestId,
  /// The envelope says that it is a request.
  wrongDirection,
  /// What is sealed or compressed is plain text.
  notJSON,
  /// The callback states one byte of JSON more than there is.
  wrongPayloadSize,
  /// The callback states one byte of compressed data more than there is.
  wrongCompressedSize,
};

}  // namespace tilvanego::sandbox

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
