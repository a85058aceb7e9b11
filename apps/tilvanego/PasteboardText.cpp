#include "PasteboardText.h"

#include <optional>
#include <utility>
#include <variant>

#include <tilvanego/values/Base64.h>
#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/DateFormats.h>

namespace tilvanego::program {
namespace {

std::optional<PasteboardValue> readValue(const JSONValue& value) {
  if (const std::string* text = value.stringValue()) return *text;
  const JSONValue::Dictionary* fields = value.dictionaryValue();
  const JSONLookup base64 = value["base64"];
  if (fields == nullptr || fields->size() != 1 || base64 == nullptr || !base64->isString())
    return std::nullopt;
  auto bytes = base64Decode(*base64->stringValue());
  return bytes ? std::optional<PasteboardValue>(*std::move(bytes)) : std::nullopt;
}

std::optional<PasteboardItem> readItem(const JSONValue& value) {
  const JSONValue::Dictionary* types = value.dictionaryValue();
  if (types == nullptr) return std::nullopt;
  PasteboardItem item;
  for (const auto& [type, one] : *types) {
    if (one.isNull()) continue;
    auto read = readValue(one);
    if (!read) return std::nullopt;
    item.emplace(type, *std::move(read));
  }
  return item;
}

JSONObject itemObject(const PasteboardItem& item) {
  JSONObject object;
  for (const auto& [type, value] : item) {
    if (const auto* text = std::get_if<std::string>(&value)) {
      object.add(type, *text);
    } else {
      object.add(type, JSONObject().add("base64", base64Encode(std::get<Bytes>(value))));
    }
  }
  return object;
}

}  // namespace

JSONObject pasteboardObject(const PasteboardContents& contents) {
  JSONList items;
  for (const PasteboardItem& item : contents.items) items.add(itemObject(item));
  const auto& expiration = contents.options.expirationDate;
  return JSONObject()
      .add("pasteboard", items.finish())
      .add("localOnly", contents.options.localOnly)
      .addOrNull("expirationDate", expiration ? std::optional(internetDateText(*expiration)) : std::nullopt);
}

std::optional<std::vector<PasteboardItem>> FieldType<std::vector<PasteboardItem>>::read(
    const JSONValue& value) {
  const JSONValue::Array* list = value.arrayValue();
  if (list == nullptr) return std::nullopt;
  std::vector<PasteboardItem> items;
  for (const JSONValue& one : *list) {
    auto item = readItem(one);
    if (!item) return std::nullopt;
    items.push_back(*std::move(item));
  }
  return items;
}

}  // namespace tilvanego::program
