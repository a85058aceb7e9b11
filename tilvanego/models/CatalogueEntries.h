#pragma once

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <tilvanego/json/Record.h>
#include <tilvanego/models/Catalogue.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/UUID.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

/// Creates the entries of the catalogue from the types at compile time.
namespace tilvanego::models::detail {

/// The characters of a type's name with "." in place of "::", such as "EBT.ModelType".
template <typename T>
[[gnu::visibility("hidden")]] inline constexpr auto dottedCharacters = [] {
  constexpr std::string_view name =
      json::detail::typeName<T>.substr(std::string_view("tilvanego::models::").size());
  constexpr std::size_t nesting = static_cast<std::size_t>(std::ranges::count(name, ':')) / 2;
  std::array<char, name.size() - nesting> dotted{};
  std::size_t at = 0;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] == ':') ++i;
    dotted[at++] = name[i] == ':' ? '.' : name[i];
  }
  return dotted;
}();

template <typename T>
inline constexpr std::string_view typeText{dottedCharacters<T>.data(), dottedCharacters<T>.size()};
template <>
inline constexpr std::string_view typeText<std::string> = "String";
template <>
inline constexpr std::string_view typeText<std::int64_t> = "Integer";
template <>
inline constexpr std::string_view typeText<bool> = "Boolean";
template <>
inline constexpr std::string_view typeText<Date> = "Date";
template <>
inline constexpr std::string_view typeText<UUID> = "UUID";

// Members

template <typename T>
struct ListTraits : std::false_type {
  using Element = T;
};
template <typename T>
struct ListTraits<std::vector<T>> : std::true_type {
  using Element = T;
};

template <Record R, std::size_t index>
using Member = json::detail::FieldAt<R, index>::Type;
template <Record R, std::size_t index>
using Value = json::detail::OptionalTraits<Member<R, index>>::Value;

/// The type of the rules for values of type T.
template <typename T>
struct RuleOf;
template <>
struct RuleOf<std::string> {
  using Type = StringRule;
};
template <>
struct RuleOf<std::int64_t> {
  using Type = NumericRule<std::int64_t>;
};
template <>
struct RuleOf<std::vector<std::string>> {
  using Type = ArrayRule;
};

/// Each field's rule, in the order of the fields.
template <Record R>
inline constexpr auto rulesByField = [] {
  std::array<std::optional<FieldRule::Rule>, json::fieldCount<R>> all{};
  if constexpr (requires { R::rules; }) {
    for (const FieldRule& one : R::rules) all[one.field] = one.rule;
  }
  return all;
}();

// Checks of a declaration

/// Whether the rule of the field is the constant that is named after the field.
template <Record R, std::size_t index>
consteval bool ruleIsNamedAfterItsField() {
  if constexpr (!rulesByField<R>[index].has_value()) {
    return true;
  } else {
    constexpr const auto& rule = *rulesByField<R>[index];
    using json::detail::firstArgument, json::detail::lastIdentifier, json::detail::spelled;
    constexpr std::string_view constant =
        lastIdentifier(firstArgument(spelled<std::get<rule.index()>(rule)>()));
    constexpr std::string_view field = json::detail::enumeratorNames<typename R::CodingKeys>.names[index];
    return constant.starts_with(field) && constant.substr(field.size()) == "Rule";
  }
}

template <Record R>
consteval bool eachFieldHasOneRule() {
  if constexpr (requires { R::rules; }) {
    const auto ruled =
        std::ranges::count_if(rulesByField<R>, [](const auto& rule) { return rule.has_value(); });
    return std::cmp_equal(ruled, std::size(R::rules));
  }
  return true;
}

/// Whether the enumeration reads unknown texts as `unknownDefaultOpenApi`.
template <typename Enumeration>
inline constexpr bool isOpen = std::is_base_of_v<OpenRawTexts<Enumeration>, RawTexts<Enumeration>>;

template <typename T>
inline constexpr bool isValidMember = true;
template <typename T>
  requires std::is_enum_v<T>
inline constexpr bool isValidMember<T> = HasUnknownCase<T> && isOpen<T>;

template <typename R>
concept ReportsUnknownCases = requires(const R& record) { record.containsUnknownDefaultOpenApiCase(); };

/// A record that has enumerations but, on purpose, no `containsUnknownDefaultOpenApiCase`.
template <typename R>
concept OmitsUnknownCaseReport = requires { requires !R::reportsUnknownCases; };

template <Record R>
consteval void checkDeclaration() {
  []<std::size_t... index>(std::index_sequence<index...>) {
    static_assert((ruleIsNamedAfterItsField<R, index>() && ...),
                  "a rule is the constant named after its field: totalRule for total");
    static_assert((isValidMember<typename ListTraits<Value<R, index>>::Element> && ...),
                  "the raw texts of an enumeration in a record derive from OpenRawTexts");
    static_assert(
        !(HasUnknownCase<Value<R, index>> || ...) || ReportsUnknownCases<R> || OmitsUnknownCaseReport<R>,
        "a record with enumerations has containsUnknownDefaultOpenApiCase");
  }(std::make_index_sequence<json::fieldCount<R>>());
  static_assert(eachFieldHasOneRule<R>(), "a field has one rule at most");
}

template <Record R>
constexpr auto describeFields() {
  checkDeclaration<R>();
  return []<std::size_t... index>(std::index_sequence<index...>) {
    return std::array{
        FieldDescription{.name = json::detail::enumeratorNames<typename R::CodingKeys>.names[index],
                         .key = json::recordKeys<R>()[index],
                         .type = typeText<typename ListTraits<Value<R, index>>::Element>,
                         .isArray = ListTraits<Value<R, index>>::value,
                         .required = !json::detail::OptionalTraits<Member<R, index>>::value,
                         .rule = rulesByField<R>[index]}...};
  }(std::make_index_sequence<json::fieldCount<R>>());
}

template <Record R>
[[gnu::visibility("hidden")]] inline constexpr auto fieldDescriptions = describeFields<R>();

// Rules

template <Record R>
void visitRules(const R& record, const std::string& prefix, const RuleVisitor& visitor);

template <typename T>
void visitInside(const T&, const std::string&, const RuleVisitor&) {}

template <Record R>
void visitInside(const R& record, const std::string& path, const RuleVisitor& visitor) {
  visitRules(record, path + '.', visitor);
}

template <Record R>
void visitInside(const std::vector<R>& list, const std::string& path, const RuleVisitor& visitor) {
  for (std::size_t i = 0; i < list.size(); ++i)
    visitInside(list[i], path + '[' + std::to_string(i) + ']', visitor);
}

template <Record R, std::size_t index>
void visitField(const Value<R, index>& value, const std::string& path, const RuleVisitor& visitor) {
  if constexpr (rulesByField<R>[index].has_value()) {
    using OneRule = RuleOf<Value<R, index>>::Type;
    // No address is compared here: with a sanitizer, g++ can't do that at compile time.
    static constexpr auto anyRule = rulesByField<R>[index];
    static_assert(std::holds_alternative<const OneRule*>(*anyRule),
                  "a rule is of the kind that its field's type can have");
    visitor(path, Ruled<Value<R, index>, OneRule>{value, *std::get<const OneRule*>(*anyRule)});
  }
  visitInside(value, path, visitor);
}

/// Whether the field has a rule, or is a record or an array of records, whose fields may have rules.
template <Record R, std::size_t index>
inline constexpr bool mayHaveRules =
    rulesByField<R>[index].has_value() || Record<typename ListTraits<Value<R, index>>::Element>;

template <Record R, std::size_t index>
void visitMember(const Member<R, index>& member, const std::string& prefix, const RuleVisitor& visitor) {
  if constexpr (!mayHaveRules<R, index>) return;
  const std::string path = prefix + std::string(json::recordKeys<R>()[index]);
  if constexpr (json::detail::OptionalTraits<Member<R, index>>::value) {
    if (member) visitField<R, index>(*member, path, visitor);
  } else {
    visitField<R, index>(member, path, visitor);
  }
}

/// `prefix` is the start of the paths: empty, or the record's own path and ".".
template <Record R>
void visitRules(const R& record, const std::string& prefix, const RuleVisitor& visitor) {
  [&]<std::size_t... index>(std::index_sequence<index...>) {
    (visitMember<R, index>(json::detail::Layout<R>::template member<index>(record), prefix, visitor), ...);
  }(std::make_index_sequence<json::fieldCount<R>>());
}

// Entries

template <Record R>
std::optional<bool> containsUnknownCase(const R& record) {
  if constexpr (ReportsUnknownCases<R>) {
    return record.containsUnknownDefaultOpenApiCase();
  } else {
    return std::nullopt;
  }
}

template <Record R>
const R& as(const void* record) {
  return *static_cast<const R*>(record);
}

template <Record R>
[[gnu::visibility("hidden")]] constexpr RecordType describe() {
  return {.name = typeText<R>,
          .fields = fieldDescriptions<R>,
          .operations = {
              .table = &json::Described<R>::table,
              .make = [] { return static_cast<void*>(new R()); },
              .destroy = [](void* record) { delete static_cast<R*>(record); },
              .equal = [](const void* a, const void* b) { return as<R>(a) == as<R>(b); },
              .hash = [](const void* record) { return json::Described<R>::hash(as<R>(record)); },
              .visitRules = [](const void* record,
                               const RuleVisitor& visitor) { visitRules(as<R>(record), {}, visitor); },
              .containsUnknownCase = [](const void* record) { return containsUnknownCase(as<R>(record)); },
          }};
}

template <typename Enumeration>
constexpr auto describeCases() {
  using Texts = RawTexts<Enumeration>;
  static_assert(isOpen<Enumeration>, "the raw texts of an enumeration in a record derive from OpenRawTexts");
  static_assert(json::detail::enumeratorNames<Enumeration>.count == Texts::table.size(),
                "each case has a text");
  static_assert(json::rawTextsAreDistinct<Enumeration>(), "each case and each raw text is said once");
  return []<std::size_t... index>(std::index_sequence<index...>) {
    static_assert(((Texts::table[index].first == static_cast<Enumeration>(index)) && ...),
                  "the texts stand in the order of the cases");
    const auto name = [](std::string_view enumerator) {
      return enumerator.ends_with('_') ? enumerator.substr(0, enumerator.size() - 1) : enumerator;
    };
    return std::array{CaseDescription{name(json::detail::enumeratorNames<Enumeration>.names[index]),
                                      Texts::table[index].second}...};
  }(std::make_index_sequence<Texts::table.size()>());
}

template <typename Enumeration>
[[gnu::visibility("hidden")]] inline constexpr auto caseDescriptions = describeCases<Enumeration>();

}  // namespace tilvanego::models::detail
