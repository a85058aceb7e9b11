#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/http_client/HTTPMethod.h>
#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/network/URLCredential.h>

namespace tilvanego::program {

/// NAME=VALUE.
struct NamedValue {
  std::string name;
  std::string value;
};

/// The one body that a request may have.
enum class SendBodyKind : std::uint8_t { none, json, form, multipart, octet };

enum class ResponseForm : std::uint8_t { text, bytes, json, file, none, model };

/// The options of `tilvanego send`.
struct SendOptions {
  HTTPMethod method = HTTPMethod::get;
  std::string url;
  HTTPHeaders headers;
  std::vector<NamedValue> query;
  SendBodyKind bodyKind = SendBodyKind::none;
  /// For `json` and `octet`; "-" is standard input.
  std::string bodyFile;
  /// For `form` and `multipart`.
  std::vector<NamedValue> bodyItems;
  std::optional<URLCredential> user;
  /// The maximum number of repetitions.
  unsigned retries = 0;
  ResponseForm responseForm = ResponseForm::text;
  /// The record's name, for `ResponseForm::model`.
  std::string model;
  bool include = false;
  /// In seconds without any byte.
  std::optional<double> timeout;
  std::string certificate;
  std::optional<std::string> proxy;
  bool progress = false;
  bool timings = false;
};

}  // namespace tilvanego::program
