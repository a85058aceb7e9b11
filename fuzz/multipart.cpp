// Parameters of any names and values as a multipart body, which a small reader of its own takes apart again:
// each part must come back as it went in, and no content may make a part of its own. The input is records of
// a kind, the length of a name, the name, the length of a content, the content.

#include <tilvanego/http_client/encodings/FormDataEncoding.h>
#include <tilvanego/values/Text.h>

#include "fuzz/Fuzzer.h"

namespace {

using namespace tilvanego;

using Pairs = std::vector<std::pair<std::string, std::string>>;

std::string_view cut(std::string_view& text, std::size_t length) {
  const std::string_view front = text.substr(0, length);
  text.remove_prefix(front.size());
  return front;
}

std::string_view cutCounted(std::string_view& text) {
  const std::string_view length = cut(text, 1);
  return cut(text, length.empty() ? 0 : static_cast<std::uint8_t>(length[0]));
}

AnyValue valueOf(char kind, std::string_view content) {
  switch (kind & 3) {
    case 0:
      return Data(content);
    case 1:
      return AnyValue::array({content, Data(content), static_cast<std::int64_t>(content.size())});
    case 2:
      return static_cast<double>(content.size()) / 7;
    default:
      return content;
  }
}

Parameters parametersOf(std::string_view input) {
  Parameters parameters;
  while (!input.empty()) {
    const char kind = cut(input, 1)[0];
    const std::string name(cutCounted(input));
    parameters.insert_or_assign(name, valueOf(kind, cutCounted(input)));
  }
  return parameters;
}

void addExpected(Pairs& parts, const std::string& name, const AnyValue& value) {
  if (const auto* elements = value.as<AnyValue::Array>()) {
    for (const auto& element : *elements) addExpected(parts, name, *element);
  } else if (const auto* data = value.as<Data>()) {
    parts.emplace_back(name, data->text());
  } else if (const auto* text = value.as<std::string>()) {
    if (isValidUTF8(*text)) parts.emplace_back(name, *text);
  } else {
    parts.emplace_back(name, value.numberText().value());
  }
}

void take(std::string_view& text, std::string_view expected) {
  require(text.starts_with(expected));
  text.remove_prefix(expected.size());
}

Pairs partsOf(std::string_view body, const std::string& boundary) {
  Pairs parts;
  const std::string delimiter = "\r\n--" + boundary;
  // The line end in front of the first delimiter is left out.
  if (!body.starts_with(delimiter)) body.remove_prefix(std::min(body.size(), delimiter.size() - 2));
  while (body != delimiter + "--\r\n" && body != "--\r\n") {
    if (body.starts_with(delimiter)) body.remove_prefix(delimiter.size());
    take(body, "\r\nContent-Disposition: form-data; name=\"");
    const std::size_t lineEnd = body.find("\r\n");
    require(lineEnd != std::string_view::npos && lineEnd > 0 && body[lineEnd - 1] == '"');
    const std::string name(body.substr(0, lineEnd - 1));
    body.remove_prefix(lineEnd);
    take(body, "\r\n\r\n");
    const std::size_t contentEnd = body.find(delimiter);
    require(contentEnd != std::string_view::npos);
    parts.emplace_back(name, body.substr(0, contentEnd));
    body.remove_prefix(contentEnd);
  }
  return parts;
}

bool isForging(const Parameters::value_type& parameter) {
  const auto* elements = parameter.second.as<AnyValue::Array>();
  if (elements != nullptr && elements->empty()) return false;
  return std::ranges::any_of(parameter.first, [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

void checkMultipart(const Parameters& parameters) {
  const auto request = FormDataEncoding().encode(URLRequest(), parameters);
  require(request.has_value() == std::ranges::none_of(parameters, isForging));
  if (!request) {
    require(request.error().as<FormDataError>() != nullptr);
    return;
  }
  if (parameters.empty()) return;
  std::string_view type = request->headers.value("Content-Type").value();
  take(type, "multipart/form-data; boundary=");
  Pairs expected;
  for (const auto& [name, value] : parameters) addExpected(expected, name, value);
  require(partsOf(request->httpBody->text(), std::string(type)) == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  checkMultipart(parametersOf(textOf(data, size)));
  return 0;
}
