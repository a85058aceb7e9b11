#include <tilvanego/models/Catalogue.h>

#include "tests/models/ModelTables.h"
#include "tests/support/Test.h"

namespace tilvanego::models {
namespace {

using test::Members;
using test::ModelTables;
using test::objectText;
using test::VectorValue;

const ModelTables& tables() { return ModelTables::shared(); }

const RecordType& typeOf(const VectorValue& record) { return *findRecordType(record["name"].text()); }

std::string written(const RecordType& type, std::string_view text) {
  const auto record = type.decode(text);
  return record ? record->encode().value() : "refused: " + record.error().report();
}

std::string refusal(const RecordType& type, std::string_view text) {
  const auto record = type.decode(text);
  return record ? "none" : record.error().report();
}

// A rule's parts by the names that a reader gives them.
std::map<std::string, std::string> partsOf(const std::optional<FieldRule::Rule>& rule) {
  std::map<std::string, std::string> parts;
  const auto add = [&](const char* name, const auto& value) {
    if (!value) return;
    if constexpr (requires { value->size(); }) {
      parts[name] = *value;
    } else {
      parts[name] = std::to_string(*value);
    }
  };
  if (!rule) return parts;
  if (const auto* const* text = std::get_if<const StringRule*>(&*rule)) {
    add("minLength", (*text)->minLength);
    add("maxLength", (*text)->maxLength);
    add("pattern", (*text)->pattern);
  } else if (const auto* const* number = std::get_if<const NumericRule<std::int64_t>*>(&*rule)) {
    add("minimum", (*number)->minimum);
    add("maximum", (*number)->maximum);
    add("multipleOf", (*number)->multipleOf);
    EXPECT_FALSE((*number)->exclusiveMinimum || (*number)->exclusiveMaximum);
  } else {
    const ArrayRule& list = *std::get<const ArrayRule*>(*rule);
    add("minItems", list.minItems);
    add("maxItems", list.maxItems);
    EXPECT_FALSE(list.uniqueItems);
  }
  return parts;
}

std::map<std::string, std::string> partsIn(const VectorValue& rules) {
  std::map<std::string, std::string> parts;
  for (std::size_t i = 0; i < rules.names.size(); ++i) parts[rules.names[i]] = rules.elements[i].content;
  return parts;
}

TEST(Catalogue, RecordsAreThePublishedTables) {
  ASSERT_EQ(tables().records().size(), 41u);
  ASSERT_EQ(recordTypes().size(), 41u);
  std::size_t rules = 0;
  std::size_t typesWithRules = 0;
  for (std::size_t i = 0; i < 41; ++i) {
    const RecordType& type = recordTypes()[i];
    const VectorValue& record = tables().records()[i];
    ASSERT_EQ(type.name, record["name"].text());
    ASSERT_EQ(type.fields.size(), record["fields"].array().size()) << type.name;
    const std::size_t rulesBefore = rules;
    for (std::size_t j = 0; j < type.fields.size(); ++j) {
      const FieldDescription& field = type.fields[j];
      const VectorValue& row = record["fields"][j];
      EXPECT_EQ(field.name, row["name"].text()) << type.name;
      EXPECT_EQ(field.key, row["key"].text()) << type.name;
      EXPECT_EQ(field.typeText(), row["type"].text()) << type.name << '.' << field.name;
      EXPECT_EQ(field.required, row["required"].boolean()) << type.name << '.' << field.name;
      EXPECT_EQ(partsOf(field.rule), partsIn(row["rules"])) << type.name << '.' << field.name;
      if (field.rule) ++rules;
    }
    if (rules != rulesBefore) ++typesWithRules;
    EXPECT_EQ(findRecordType(type.name), &type);
  }
  EXPECT_EQ(rules, 41u);
  EXPECT_EQ(typesWithRules, 17u);
  EXPECT_EQ(findRecordType("amounts"), nullptr);
  EXPECT_EQ(findRecordType("Status"), nullptr);
}

TEST(Catalogue, EnumerationsAreThePublishedTables) {
  ASSERT_EQ(tables().enumerations().size(), 19u);
  ASSERT_EQ(enumerationTypes().size(), 19u);
  for (std::size_t i = 0; i < 19; ++i) {
    const EnumerationType& type = enumerationTypes()[i];
    const VectorValue& enumeration = tables().enumerations()[i];
    ASSERT_EQ(type.name, enumeration["name"].text());
    ASSERT_EQ(type.cases.size(), enumeration["cases"].array().size()) << type.name;
    for (std::size_t j = 0; j < type.cases.size(); ++j) {
      EXPECT_EQ(type.cases[j].name, enumeration["cases"][j]["case"].text()) << type.name;
      EXPECT_EQ(type.cases[j].text, enumeration["cases"][j]["text"].text()) << type.name;
    }
    EXPECT_EQ(type.cases.back().text, "unknown_default_open_api");
    EXPECT_EQ(findEnumerationType(type.name), &type);
  }
}

TEST(Catalogue, EveryRecordComesBackAsItWasWithoutUnknownKeys) {
  for (const VectorValue& record : tables().records()) {
    const RecordType& type = typeOf(record);
    for (const std::string& text :
         {objectText(tables().full(record)), objectText(tables().minimal(record))}) {
      EXPECT_EQ(written(type, text), text);
      const std::string more = text == "{}" ? "}" : "," + text.substr(1);
      EXPECT_EQ(written(type, R"({"unheardOf":{"deep":[1,null,"2"]},"CodingKeys":1e400)" + more), text);
      const AnyRecord original = type.decode(text).value();
      for (const JSONFormat& format : {JSONFormat{.sortedKeys = true}, JSONFormat{.pretty = true}}) {
        const AnyRecord again = type.decode(original.encode(format).value()).value();
        EXPECT_EQ(again, original) << text;
        EXPECT_EQ(again.hash(), original.hash()) << text;
      }
    }
  }
}

TEST(Catalogue, EachFieldCountsForEqualityAndHash) {
  for (const VectorValue& record : tables().records()) {
    const RecordType& type = typeOf(record);
    const Members all = tables().full(record);
    const AnyRecord whole = type.decode(objectText(all)).value();
    for (std::size_t i = 0; i < all.size(); ++i) {
      const VectorValue& field = record["fields"][i];
      Members others = all;
      if (!field["required"].boolean()) {
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(i));
      } else if (ModelTables::kind(field["type"].text()) == "text") {
        others[i].second = R"("other")";
      } else if (field["type"].text() == "Integer") {
        others[i].second = "5";
      } else {
        continue;
      }
      const AnyRecord other = type.decode(objectText(others)).value();
      EXPECT_FALSE(other == whole) << type.name << '.' << all[i].first;
      EXPECT_NE(other.hash(), whole.hash()) << type.name << '.' << all[i].first;
    }
  }
}

TEST(Catalogue, OptionalFieldsMayBeMissingOrNullAndRequiredOnesMayNot) {
  for (const VectorValue& record : tables().records()) {
    const RecordType& type = typeOf(record);
    const Members all = tables().full(record);
    for (std::size_t i = 0; i < all.size(); ++i) {
      Members without = all;
      without.erase(without.begin() + static_cast<std::ptrdiff_t>(i));
      Members null = all;
      null[i].second = "null";
      if (record["fields"][i]["required"].boolean()) {
        EXPECT_EQ(refusal(type, objectText(without)), all[i].first + ": missing key") << type.name;
        EXPECT_TRUE(refusal(type, objectText(null)).starts_with(all[i].first + ": expected ")) << type.name;
      } else {
        EXPECT_EQ(written(type, objectText(without)), objectText(without));
        EXPECT_EQ(written(type, objectText(null)), objectText(without));
      }
    }
  }
}

TEST(Catalogue, AValueOfAnotherTypeIsRefusedUnderItsPath) {
  for (const VectorValue& record : tables().records()) {
    const RecordType& type = typeOf(record);
    for (std::size_t i = 0; i < record["fields"].array().size(); ++i) {
      const std::string field = record["fields"][i]["type"].text();
      Members members = tables().full(record);
      for (const std::string& value : ModelTables::valuesOfOtherKinds(field)) {
        members[i].second = value;
        EXPECT_TRUE(refusal(type, objectText(members)).starts_with(members[i].first + ": expected "))
            << type.name << ' ' << value << ' ' << refusal(type, objectText(members));
      }
    }
  }
}

TEST(Catalogue, UnknownTextsBecomeTheFallbackAndAreToldByTheRecordsThatTell) {
  std::size_t tellers = 0;
  for (const VectorValue& record : tables().records()) {
    const RecordType& type = typeOf(record);
    const VectorValue& looksAt = record["unknownIn"];
    if (!looksAt.isNull()) ++tellers;
    const auto told = [&](const Members& members) {
      return type.decode(objectText(members)).value().containsUnknownDefaultOpenApiCase();
    };
    const auto expected = [&](bool is) { return looksAt.isNull() ? std::nullopt : std::optional(is); };
    EXPECT_EQ(told(tables().full(record)), expected(false)) << type.name;
    EXPECT_EQ(told(tables().minimal(record)), expected(false)) << type.name;
    for (std::size_t i = 0; i < record["fields"].array().size(); ++i) {
      const VectorValue& field = record["fields"][i];
      if (!tables().isEnumeration(field["type"].text())) continue;
      Members members = tables().full(record);
      members[i].second = R"("Unheard of")";
      bool isLookedAt = false;
      for (const VectorValue& one : looksAt.isNull() ? std::vector<VectorValue>() : looksAt.array())
        isLookedAt |= one.text() == field["name"].text();
      EXPECT_EQ(told(members), expected(isLookedAt)) << type.name << '.' << members[i].first;
      const std::string text = objectText(members);
      members[i].second = R"("unknown_default_open_api")";
      EXPECT_EQ(written(type, text), objectText(members));
    }
  }
  EXPECT_EQ(tellers, 13u);
}

}  // namespace
}  // namespace tilvanego::models
