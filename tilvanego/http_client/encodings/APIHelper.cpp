#include <tilvanego/http_client/encodings/APIHelper.h>

#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

std::string joined(const AnyValue::Array& elements) {
  std::string text;
  bool isFirst = true;
  for (const auto& element : elements) {
    if (!element) continue;
    if (!std::exchange(isFirst, false)) text += ',';
    text += element->description();
  }
  return text;
}

std::string textOf(const AnyValue& value) {
  const auto* elements = value.as<AnyValue::Array>();
  return elements != nullptr ? joined(*elements) : value.description();
}

void addItems(std::vector<QueryItem>& items, const std::string& name, const AnyValue& value, bool isExplode) {
  const auto* elements = value.as<AnyValue::Array>();
  if (const auto* text = value.as<std::string>()) {
    items.emplace_back(name, *text);
    return;
  }
  if (elements == nullptr || !isExplode) {
    items.push_back({name, textOf(value)});
    return;
  }
  for (const auto& element : *elements) {
    if (element) items.push_back({name, element->description()});
  }
}

/// The sources are sorted by name, so the items are too.
std::optional<std::vector<QueryItem>> orNone(std::vector<QueryItem> items) {
  if (items.empty()) return std::nullopt;
  return items;
}

}  // namespace

std::optional<Parameters> APIHelper::rejectNil(const OptionalParameters& source) {
  Parameters kept;
  for (const auto& [name, value] : source) {
    if (value) kept.emplace(name, *value);
  }
  if (kept.empty()) return std::nullopt;
  return kept;
}

std::map<std::string, std::string> APIHelper::rejectNilHeaders(const OptionalParameters& source) {
  std::map<std::string, std::string> texts;
  for (const auto& [name, value] : source) {
    if (value) texts.emplace(name, textOf(*value));
  }
  return texts;
}

std::optional<Parameters> APIHelper::convertBoolToString(std::optional<Parameters> source) {
  if (!source) return std::nullopt;
  for (auto& [name, value] : *source) {
    if (value.as<bool>() != nullptr) value = value.description();
  }
  return source;
}

std::optional<std::string> APIHelper::convertAnyToString(const std::optional<AnyValue>& value) {
  if (!value) return std::nullopt;
  return value->description();
}

AnyValue APIHelper::mapValueToPathItem(const AnyValue& source) {
  if (const auto* elements = source.as<AnyValue::Array>()) return joined(*elements);
  if (const auto* raw = source.as<AnyValue::RawValue>()) return raw->text;
  return source;
}

std::optional<std::vector<QueryItem>> APIHelper::mapValuesToQueryItems(
    const std::map<std::string, ExplodedValue>& source) {
  std::vector<QueryItem> items;
  for (const auto& [name, value] : source) {
    if (value.wrappedValue) addItems(items, name, *value.wrappedValue, value.isExplode);
  }
  return orNone(std::move(items));
}

std::optional<std::vector<QueryItem>> APIHelper::mapValuesToQueryItems(const OptionalParameters& source) {
  std::vector<QueryItem> items;
  for (const auto& [name, value] : source) {
    if (value) addItems(items, name, *value, true);
  }
  return orNone(std::move(items));
}

std::optional<std::vector<QueryItem>> APIHelper::mapValuesToQueryItems(const Parameters& source) {
  std::vector<QueryItem> items;
  items.reserve(source.size());
  for (const auto& [name, value] : source) addItems(items, name, value, true);
  return orNone(std::move(items));
}

}  // namespace tilvanego
