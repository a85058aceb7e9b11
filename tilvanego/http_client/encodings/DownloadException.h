#pragma once

#include <array>
#include <cstdint>
#include <string>

#include <tilvanego/values/CaseNames.h>

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
    constexpr std::array texts{
        "the answer to a download has no bytes",
        "a download failed on its way",
        "there is no request",
        "the request's URL has no path",
        "the request has no URL, or its text is none",
    };
    static_assert(texts.size() == requestMissingURL + 1);
    const auto index = static_cast<std::size_t>(value_);
    return index < texts.size() ? texts[index] : "a download failed";
  }

  constexpr bool operator==(const DownloadException&) const = default;

 private:
  Case value_;
};

template <>
inline constexpr bool showsCaseNames<DownloadException::Case> = true;

}  // namespace tilvanego
