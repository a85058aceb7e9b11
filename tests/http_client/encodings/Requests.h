#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>
#include <tilvanego/values/URLComponents.h>

namespace tilvanego::test {

inline URL urlOf(std::string_view text) { return URL::parse(text).value(); }

inline URL fileURL(const std::filesystem::path& path) {
  return URLComponents{"file", "", path.string(), std::nullopt}.url().value();
}

/// Writes the file, and gives its URL.
inline URL written(const std::filesystem::path& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary);
  file << content;
  if (!file.flush()) throw std::runtime_error("can't write " + path.string());
  return fileURL(path);
}

inline URLRequest postRequest() {
  URLRequest request;
  request.url = urlOf("https://host/path");
  request.httpMethod = "POST";
  return request;
}

inline std::optional<std::string> bodyOf(const URLRequest& request) {
  if (!request.httpBody) return std::nullopt;
  return std::string(request.httpBody->text());
}

inline std::string contentTypeOf(const URLRequest& request) {
  return std::string(request.headers.value("Content-Type").value_or("none"));
}

/// The failure of an encoding, in one line; "none" if it didn't fail.
inline std::string failureOf(const std::expected<URLRequest, Failure>& encoded) {
  return encoded ? "none" : encoded.error().description();
}

}  // namespace tilvanego::test
