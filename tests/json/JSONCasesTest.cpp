#include <bit>

#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>
#include <tilvanego/values/Base64.h>

#include "tests/support/VectorFile.h"

namespace tilvanego {
namespace {

using test::VectorValue;

double doubleOf(const std::string& bits) {
  return std::bit_cast<double>(std::uint64_t{std::stoull(bits, nullptr, 16)});
}

// The typed values of the case files: one field, named after the case.
JSONValue valueOf(const VectorValue& typed) {
  const std::string& name = typed.names.at(0);
  const VectorValue& payload = typed.elements.at(0);
  if (name == "int") return std::int64_t{std::stoll(payload.text())};
  if (name == "double") return doubleOf(payload.text());
  if (name == "bool") return payload.boolean();
  if (name == "string") return payload.text();
  if (name == "array") {
    JSONValue::Array elements;
    for (const VectorValue& element : payload.array()) elements.push_back(valueOf(element));
    return elements;
  }
  if (name == "dictionary") {
    JSONValue::Dictionary entries;
    for (const VectorValue& pair : payload.array()) entries.emplace(pair[0].text(), valueOf(pair[1]));
    return entries;
  }
  EXPECT_EQ(name, "null");
  return nullptr;
}

TEST(JSONCases, EveryTextIsReadAsTheCaseFileSays) {
  for (const VectorValue& one : test::vectorCases("json-reading.json", 210)) {
    const auto bytes = base64Decode(one["json"].text()).value();
    const std::string text(bytes.begin(), bytes.end());
    SCOPED_TRACE(text.substr(0, 80));
    const auto value = json::decode<JSONValue>(text);
    EXPECT_EQ(value.has_value(), one["accepted"].boolean());
    if (value && !one["value"].isNull()) {
      EXPECT_EQ(*value, valueOf(one["value"]));
    }

    const auto whole = json::decode<std::int64_t>(text);
    EXPECT_EQ(whole ? std::optional(std::to_string(*whole)) : std::nullopt, one["int"].optionalText());
    const auto real = json::decode<double>(text);
    EXPECT_EQ(real.has_value(), !one["double"].isNull());
    if (real && !one["double"].isNull()) {
      EXPECT_EQ(std::bit_cast<std::uint64_t>(*real),
                std::bit_cast<std::uint64_t>(doubleOf(one["double"].text())));
    }
    const auto truth = json::decode<bool>(text);
    EXPECT_EQ(truth.has_value(), !one["bool"].isNull());
    if (truth && !one["bool"].isNull()) {
      EXPECT_EQ(*truth, one["bool"].boolean());
    }
    const auto string = json::decode<std::string>(text);
    EXPECT_EQ(string ? std::optional(*string) : std::nullopt, one["string"].optionalText());
  }
}

TEST(JSONCases, EveryValueIsWrittenAsTheCaseFileSays) {
  for (const VectorValue& one : test::vectorCases("json-writing.json", 18)) {
    const JSONValue value = valueOf(one["value"]);
    SCOPED_TRACE(one["sorted"].text());
    const auto sorted = json::encode(value, {.sortedKeys = true});
    EXPECT_EQ(sorted, one["sorted"].text());
    EXPECT_EQ(json::encode(value, {.sortedKeys = true, .pretty = true}), one["pretty"].text());
    if (!one["compact"].isNull()) {
      EXPECT_EQ(json::encode(value), one["compact"].text());
    }
    EXPECT_EQ(json::decode<JSONValue>(*sorted), value);
  }
}

TEST(JSONCases, EveryDoubleIsWrittenAsTheCaseFileSaysAndReadsBack) {
  for (const VectorValue& one : test::vectorCases("double-texts.json", 19)) {
    const double value = doubleOf(one["bits"].text());
    EXPECT_EQ(json::encode(value), one["json"].text());
    EXPECT_EQ(json::decode<double>(one["json"].text()), value);
  }
}

}  // namespace
}  // namespace tilvanego
