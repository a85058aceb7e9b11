#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/models/Catalogue.h>

namespace tilvanego::program {

/// One part of a rule, with the name of the fault that it finds: "maxLength" and 25.
struct RulePart {
  std::string_view name;
  std::string value;
  /// Not a number.
  bool isText = false;
};

/// The parts that a rule sets, in the order in which they are checked.
[[nodiscard]] std::vector<RulePart> partsOf(const std::optional<models::FieldRule::Rule>& rule);

/// "maxLength 25".
[[nodiscard]] std::string wordsFor(const RulePart& part);

/// One line `PATH: RULE` for each rule that the record breaks, in the order of its fields.
[[nodiscard]] std::vector<std::string> brokenRules(const models::AnyRecord& record);

}  // namespace tilvanego::program
