#include "SendBody.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <system_error>
#include <utility>

#include <tilvanego/http_client/encodings/FileReading.h>
#include <tilvanego/http_client/encodings/JSONDataEncoding.h>
#include <tilvanego/json/JSONReader.h>
#include <tilvanego/values/URLComponents.h>

namespace tilvanego::program {
namespace {

using Reading = std::expected<Data, std::string>;
constexpr std::string_view standardInput = "-";

Reading readAll(std::FILE* file, const std::string& name) {
  Bytes bytes;
  for (;;) {
    constexpr std::size_t chunk = 65536;
    const std::size_t before = bytes.size();
    bytes.resize(before + chunk);
    const std::size_t count = std::fread(bytes.data() + before, 1, chunk, file);
    bytes.resize(before + count);
    if (count > 0) continue;
    if (std::ferror(file) == 0) return Data(std::move(bytes));
    return std::unexpected(FileReadError{name, std::generic_category().message(errno)}.description());
  }
}

Reading readFile(const std::string& name) {
  if (name == standardInput) return readAll(stdin, "standard input");
  struct Closing {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Closing> file(std::fopen(name.c_str(), "rb"));
  if (file) return readAll(file.get(), name);
  return std::unexpected(FileReadError{name, std::generic_category().message(errno)}.description());
}

/// The URL of a file, for the runtime to read, or the bytes of standard input.
std::expected<AnyValue, std::string> fileValue(const std::string& name) {
  if (name == standardInput) {
    auto data = readFile(name);
    if (!data) return std::unexpected(data.error());
    return *std::move(data);
  }
  std::error_code error;
  const auto path = std::filesystem::absolute(name, error);
  const auto url = URLComponents{"file", "", path.string(), std::nullopt}.url();
  if (error || !url) return std::unexpected(FileReadError{name, "it is no file"}.description());
  return *url;
}

using ValueLists = std::map<std::string, std::vector<AnyValue>>;

Parameters joined(const ValueLists& lists) {
  Parameters parameters;
  for (const auto& [name, values] : lists) {
    parameters.emplace(name, values.size() == 1 ? values.front() : AnyValue(values));
  }
  return parameters;
}

std::expected<Parameters, std::string> multipartParameters(const std::vector<NamedValue>& items) {
  ValueLists lists;
  for (const auto& [name, value] : items) {
    if (!value.starts_with('@')) {
      lists[name].emplace_back(Data(value));
      continue;
    }
    auto file = fileValue(value.substr(1));
    if (!file) return std::unexpected(file.error());
    lists[name].push_back(*std::move(file));
  }
  return joined(lists);
}

std::expected<std::optional<Parameters>, std::string> jsonParameters(const std::string& name) {
  auto data = readFile(name);
  if (!data) return std::unexpected(data.error());
  json::Reader reader(data->text());
  if (!reader.skip() || !reader.finish()) {
    return std::unexpected(name + " isn't JSON: " + reader.error().description());
  }
  return JSONDataEncoding::encodingParameters(*data);
}

std::expected<std::optional<Parameters>, std::string> octetParameters(const std::string& name) {
  auto value = fileValue(name);
  if (!value) return std::unexpected(value.error());
  return Parameters{{"body", *std::move(value)}};
}

}  // namespace

Parameters parametersOf(const std::vector<NamedValue>& items) {
  ValueLists lists;
  for (const auto& [name, value] : items) lists[name].emplace_back(value);
  return joined(lists);
}

std::expected<std::optional<Parameters>, std::string> bodyParameters(const SendOptions& options) {
  switch (options.bodyKind) {
    case SendBodyKind::none:
      return std::nullopt;
    case SendBodyKind::json:
      return jsonParameters(options.bodyFile);
    case SendBodyKind::form:
      return parametersOf(options.bodyItems);
    case SendBodyKind::multipart:
      return multipartParameters(options.bodyItems);
    case SendBodyKind::octet:
      return octetParameters(options.bodyFile);
  }
  return std::nullopt;
}

std::string_view contentTypeOf(SendBodyKind kind) {
  switch (kind) {
    case SendBodyKind::none:
      return {};
    case SendBodyKind::json:
      return "application/json";
    case SendBodyKind::form:
      return "application/x-www-form-urlencoded";
    case SendBodyKind::multipart:
      return "multipart/form-data";
    case SendBodyKind::octet:
      return "application/octet-stream";
  }
  return {};
}

}  // namespace tilvanego::program
