#include "ModelRules.h"

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <variant>

#include <tilvanego/validation/Validator.h>
#include <tilvanego/values/RawText.h>

namespace tilvanego::program {
namespace {

class RuleParts {
 public:
  std::vector<RulePart> of(const StringRule& rule) {
    add("minLength", rule.minLength);
    add("maxLength", rule.maxLength);
    if (rule.pattern) parts_.push_back({"pattern", std::string(*rule.pattern), true});
    return std::move(parts_);
  }
  std::vector<RulePart> of(const NumericRule<std::int64_t>& rule) {
    add("minimum", rule.minimum);
    if (rule.exclusiveMinimum) add("exclusiveMinimum");
    add("maximum", rule.maximum);
    if (rule.exclusiveMaximum) add("exclusiveMaximum");
    add("multipleOf", rule.multipleOf);
    return std::move(parts_);
  }
  std::vector<RulePart> of(const ArrayRule& rule) {
    add("minItems", rule.minItems);
    add("maxItems", rule.maxItems);
    if (rule.uniqueItems) add("uniqueItems");
    return std::move(parts_);
  }

 private:
  template <std::integral Number>
  void add(std::string_view name, std::optional<Number> value) {
    if (value) parts_.push_back({name, std::to_string(*value)});
  }
  void add(std::string_view name) { parts_.push_back({name, "true"}); }

  std::vector<RulePart> parts_;
};

}  // namespace

std::vector<RulePart> partsOf(const std::optional<models::FieldRule::Rule>& rule) {
  if (!rule) return {};
  return std::visit([](const auto* one) { return RuleParts().of(*one); }, *rule);
}

std::string wordsFor(const RulePart& part) { return std::string(part.name) + ' ' + part.value; }

std::vector<std::string> brokenRules(const models::AnyRecord& record) {
  std::vector<std::string> lines;
  record.visitRules([&](const std::string& path, const models::RuledValue& value) {
    std::visit(
        [&](const auto& ruled) {
          const std::vector<RulePart> parts = RuleParts().of(ruled.rule);
          for (const auto kind : Validator::check(ruled.value, ruled.rule)) {
            const auto part = std::ranges::find(parts, rawText(kind), &RulePart::name);
            lines.push_back(path + ": " + wordsFor(*part));
          }
        },
        value);
  });
  return lines;
}

}  // namespace tilvanego::program
