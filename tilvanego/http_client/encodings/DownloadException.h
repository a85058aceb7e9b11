#pragma once

#include <cstdint>
#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

/// What is missing in a request or in a downloaded response. A `Failure` can hold it.
class DownloadException {
 public:
  enum Case : std::uint8_t {
    responseDataMissing,
    responseFailed,
    requestMissing,
    requestMissingPath,
    requestMissingURL
  };

  constexpr DownloadException(Case value) : value_(value) {}

  [[nodiscard]] constexpr Case value() const { return value_; }
  /// One line for a developer.
  [[nodiscard]] std::string description() const {
    switch (value_) {
      case responseDataMissing:
        return "the answer to a download has no bytes";
      case responseFailed:
        return "a download failed on its way";
      case requestMissing:
        return "there is no request";
      case requestMissingPath:
        return "the request's URL has no path";
      case requestMissingURL:
        return "the request has no URL, or its text is none";
    }
    return "";
  }

  constexpr bool operator==(const DownloadException&) const = default;

 private:
  Case value_;
};

}  // namespace tilvanego
