#include <tilvanego/json/JSONValue.h>

namespace tilvanego {
namespace {

std::size_t mix(std::size_t seed, std::size_t hash) {
  return (seed ^ hash) * 0x9E3779B97F4A7C15u + (seed >> 17);
}

template <typename... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};

}  // namespace

JSONValue JSONValue::dictionary(std::initializer_list<std::pair<std::string_view, JSONValue>> pairs) {
  Dictionary entries;
  for (const auto& [key, value] : pairs) entries.insert_or_assign(std::string(key), value);
  return entries;
}

const JSONValue* JSONValue::operator[](std::string_view key) const {
  const Dictionary* entries = dictionaryValue();
  if (entries == nullptr) return nullptr;
  const auto entry = entries->find(key);
  return entry == entries->end() ? nullptr : &entry->second;
}

const JSONValue* JSONValue::element(std::ptrdiff_t index) const {
  const Array* elements = arrayValue();
  if (elements == nullptr || index < 0 || std::cmp_greater_equal(index, elements->size())) return nullptr;
  return &(*elements)[static_cast<std::size_t>(index)];
}

bool operator==(const JSONValue& a, const JSONValue& b) { return a.value_ == b.value_; }

std::size_t JSONValue::hash() const {
  const auto ofPayload = Overloaded{
      [](std::monostate) -> std::size_t { return 0; },
      [](const Array& elements) {
        std::size_t hash = elements.size();
        for (const JSONValue& element : elements) hash = mix(hash, element.hash());
        return hash;
      },
      [](const Dictionary& entries) {
        std::size_t hash = entries.size();
        for (const auto& [key, value] : entries)
          hash = mix(mix(hash, std::hash<std::string>()(key)), value.hash());
        return hash;
      },
      []<typename T>(const T& plain) { return std::hash<T>()(plain); },
  };
  return mix(value_.index(), std::visit(ofPayload, value_));
}

bool json::Codec<JSONValue>::read(Reader& reader, JSONValue& value) {
  JSONKind kind{};
  if (!reader.peek(kind)) return false;
  switch (kind) {
    case JSONKind::null:
      value.value_.emplace<std::monostate>();
      return reader.takeNull() || reader.fail(JSONFailure::unexpectedCharacter);
    case JSONKind::boolean:
      return reader.readBoolean(value.value_.emplace<bool>());
    case JSONKind::text:
      return reader.readText(value.value_.emplace<std::string>());
    case JSONKind::list:
      return Codec<JSONValue::Array>::read(reader, value.value_.emplace<JSONValue::Array>());
    case JSONKind::object:
      return Codec<JSONValue::Dictionary>::read(reader, value.value_.emplace<JSONValue::Dictionary>());
    case JSONKind::number:
      break;
  }
  json::detail::JSONNumber number;
  if (!reader.readNumber(number)) return false;
  if (const auto whole = number.asInteger()) {
    value.value_ = *whole;
  } else if (const auto nearest = number.asDouble()) {
    value.value_ = *nearest;
  } else {
    return reader.fail(JSONFailure::numberOutOfRange, "Unknown JSON value");
  }
  return true;
}

bool json::Codec<JSONValue>::write(Writer& writer, const JSONValue& value) {
  if (const auto* text = value.stringValue()) return writer.text(*text);
  if (const auto whole = value.intValue()) return writer.integer(*whole);
  if (const auto real = value.doubleValue()) return writer.number(*real);
  if (const auto truth = value.boolValue()) return writer.boolean(*truth);
  if (const auto* elements = value.arrayValue()) return Codec<JSONValue::Array>::write(writer, *elements);
  if (const auto* entries = value.dictionaryValue())
    return Codec<JSONValue::Dictionary>::write(writer, *entries);
  return writer.null();
}

}  // namespace tilvanego
