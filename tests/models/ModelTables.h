#pragma once

#include "tests/support/VectorFile.h"

/// The published tables of the records, and JSON texts that are built from them alone.
namespace tilvanego::test {

/// Keys with values that are JSON texts themselves.
using Members = std::vector<std::pair<std::string, std::string>>;

inline std::string objectText(const Members& members) {
  std::string text;
  for (const auto& [key, value] : members) text += (text.empty() ? "\"" : ",\"") + key + "\":" + value;
  return "{" + text + "}";
}

class ModelTables {
 public:
  static const ModelTables& shared() {
    static const ModelTables tables;
    return tables;
  }

  const std::vector<VectorValue>& records() const { return file_["records"].array(); }
  const std::vector<VectorValue>& enumerations() const { return file_["enumerations"].array(); }

  bool isEnumeration(std::string_view type) const { return find(enumerations(), type) != nullptr; }

  /// All fields, those of records inside too.
  Members full(const VectorValue& record) const {
    Members members;
    for (const VectorValue& field : record["fields"].array())
      members.emplace_back(field["key"].text(), sample(field["type"].text()));
    return members;
  }

  /// The required fields alone, full.
  Members minimal(const VectorValue& record) const {
    Members members;
    for (const VectorValue& field : record["fields"].array()) {
      if (field["required"].boolean())
        members.emplace_back(field["key"].text(), sample(field["type"].text()));
    }
    return members;
  }

  std::string sample(const std::string& type) const {
    if (type.starts_with("array of ")) {
      const std::string element = sample(type.substr(9));
      return "[" + element + "," + element + "]";
    }
    if (type == "String") return R"("12.50")";
    if (type == "Integer") return "-9223372036854775808";
    if (type == "Boolean") return "true";
    if (type == "Date") return R"("2024-03-05T10:20:30.123Z")";
    if (type == "UUID") return R"("6F9619FF-8B86-D011-B42D-00CF4FC964FF")";
    if (const VectorValue* enumeration = find(enumerations(), type))
      return '"' + (*enumeration)["cases"][0]["text"].text() + '"';
    if (const VectorValue* record = find(records(), type)) return objectText(full(*record));
    throw std::runtime_error("no type " + type);
  }

  /// The kind of JSON that a type is made of, for values of all others.
  static std::string kind(const std::string& type) {
    if (type.starts_with("array of ")) return "list";
    if (type == "Integer") return "number";
    if (type == "Boolean") return "boolean";
    if (type == "String" || type == "Date" || type == "UUID" || shared().isEnumeration(type)) return "text";
    return "object";
  }

  static std::vector<std::string> valuesOfOtherKinds(const std::string& type) {
    static const Members values = {
        {"text", R"("?")"}, {"number", "1"}, {"boolean", "false"}, {"list", "[]"}, {"object", "{}"}};
    std::vector<std::string> others;
    for (const auto& [one, value] : values) {
      if (one != kind(type)) others.push_back(value);
    }
    return others;
  }

 private:
  static const VectorValue* find(const std::vector<VectorValue>& all, std::string_view name) {
    for (const VectorValue& one : all) {
      if (one["name"].text() == name) return &one;
    }
    return nullptr;
  }

  VectorValue file_ = vectorFile("models.json");
};

}  // namespace tilvanego::test
