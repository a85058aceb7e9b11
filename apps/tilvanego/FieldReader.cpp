#include "FieldReader.h"

#include <algorithm>
#include <cstddef>

#include <tilvanego/values/DebugLiteral.h>

namespace tilvanego::program {
namespace {

constexpr std::size_t longestQuotation = 60;

}  // namespace

std::string quotation(std::string_view text) {
  if (text.size() <= longestQuotation) return debugLiteral(text);
  // Does not cut within a character.
  std::size_t end = longestQuotation;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return debugLiteral(text.substr(0, end)) + "...";
}

std::string listed(const std::vector<std::string_view>& texts, std::string_view lastWord) {
  std::string list;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) list += i + 1 == texts.size() ? " " + std::string(lastWord) + " " : ", ";
    list += quotation(texts[i]);
  }
  return list;
}

void FieldReader::refuse(std::string fault) {
  if (!fault_) fault_ = std::move(fault);
}

const JSONValue* FieldReader::find(std::string_view name) {
  known_.push_back(name);
  const auto entry = object_.find(name);
  return entry == object_.end() || entry->second.isNull() ? nullptr : &entry->second;
}

const JSONValue::Dictionary& FieldReader::object(std::string_view name) {
  static const JSONValue::Dictionary empty;
  const JSONValue* value = find(name);
  if (value == nullptr) {
    refuseMissing(name, "an object");
    return empty;
  }
  if (const JSONValue::Dictionary* fields = value->dictionaryValue()) return *fields;
  refuseType(name, "an object");
  return empty;
}

void FieldReader::refuseMissing(std::string_view name, std::string_view wanted) {
  refuse(pathTo(name) + " is missing; it must be " + std::string(wanted) + ".");
}

void FieldReader::refuseType(std::string_view name, std::string_view wanted) {
  refuse(pathTo(name) + " must be " + std::string(wanted) + ".");
}

std::optional<std::string> FieldReader::finish() const {
  // An unknown name is reported first: often it is a misspelt name, and the right one is missing.
  for (const auto& [name, value] : object_) {
    if (value.isNull() || std::ranges::find(known_, std::string_view(name)) != known_.end()) continue;
    return pathTo(name) + " is unknown here; known: " + listed(known_, "and") + ".";
  }
  return fault_;
}

std::optional<std::string> FieldType<std::string>::read(const JSONValue& value) {
  const std::string* text = value.stringValue();
  return text ? std::optional(*text) : std::nullopt;
}

std::optional<Decimal> FieldType<Decimal>::read(const JSONValue& value) {
  const std::string* text = value.stringValue();
  return text ? Decimal::parseExact(*text) : std::nullopt;
}

std::optional<URL> FieldType<URL>::read(const JSONValue& value) {
  const std::string* text = value.stringValue();
  if (text == nullptr) return std::nullopt;
  auto url = URL::parse(*text);
  return url ? std::optional(*std::move(url)) : std::nullopt;
}

}  // namespace tilvanego::program
