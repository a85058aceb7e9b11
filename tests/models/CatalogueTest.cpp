#include <tilvanego/models/Catalogue.h>

#include "tests/models/ModelTables.h"

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
