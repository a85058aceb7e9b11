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

  /// Whether the empty line after the last field has come.
  [[nodiscard]] bool isComplete() const { return complete_; }
  [[nodiscard]] const HTTPHeaders& headers() const { return headers_; }
  /// Without its line break.
  [[nodiscard]] const std::string& statusLine() const { return statusLine_; }
  /// Lets go of all of it, for the next answer.
  [[nodiscard]] HTTPHeaders take();

 private:
  void addField(std::string_view line);
  void continueField(std::string_view line);

  std::string statusLine_;
  HTTPHeaders headers_;
  /// Of the last field, for lines that continue it.
  std::string lastName_;
  std::size_t bytes_ = 0;
  std::size_t fields_ = 0;
  bool complete_ = false;
  bool inBody_ = false;
};

}  // namespace tilvanego::detail
