#pragma once

#include <tilvanego/http_client/HTTPHeaders.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace tilvanego::detail {

/// Collects the header fields of an answer from the lines that libcurl hands over: heads of interim answers
/// and of a proxy's are dropped for the next one, trailers are left out.
class ResponseHead {
 public:
  static constexpr std::size_t maximumBytes = 256 * 1024;
  static constexpr std::size_t maximumFields = 1000;

  /// Takes one line with its line break. False if the head is beyond the limits.
  [[nodiscard]] bool addLine(std::string_view line);
  /// Further lines are trailers.
  void bodyBegins() { inBody_ = true; }
  /// Lets go of all of it, for the next answer; keeps the room.
  void clear();
  /// The same, and gives the fields.
  [[nodiscard]] HTTPHeaders take();

  /// Whether the empty line after the last field has come. What follows is empty before.
  [[nodiscard]] bool isComplete() const { return complete_; }
  [[nodiscard]] const HTTPHeaders& headers() const { return headers_; }
  /// Without its line break.
  [[nodiscard]] const std::string& statusLine() const { return statusLine_; }

 private:
  void readFields();
  void addField(std::string_view line, bool isASCII);

  /// The head as it came.
  std::string bytes_;
  std::size_t lines_ = 0;
  std::size_t trailerBytes_ = 0;
  bool complete_ = false;
  bool inBody_ = false;

  std::string statusLine_;
  HTTPHeaders headers_;
};

}  // namespace tilvanego::detail
