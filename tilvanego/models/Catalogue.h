#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <tilvanego/json/JSONError.h>
#include <tilvanego/json/JSONWriter.h>
#include <tilvanego/models/Record.h>
#include <tilvanego/validation/Rules.h>

/// All records and enumerations of the POI interface by name, for programs that choose a type at run time.
/// Other programs include the headers of the types instead. All functions may be called from any thread.
namespace tilvanego {
namespace [[gnu::visibility("default")]] models {

/// Describes one field of a record.
struct FieldDescription {
  /// The name of the C++ member.
  std::string_view name;
  /// The JSON key.
  std::string_view key;
  /// "String", "Integer", "Boolean", "Date", "UUID", or the name of a record or an enumeration.
  std::string_view type;
  /// Whether the field is an array of `type`.
  bool isArray = false;
  bool required = false;
  std::optional<FieldRule::Rule> rule{};

  /// Returns the whole type, such as "String" or "array of String".
  [[nodiscard]] std::string typeText() const;
};

/// Describes one case of an enumeration.
struct CaseDescription {
  /// The name of the C++ case, without the underscore of a C++ keyword: "void" for `void_`.
  std::string_view name;
  /// The text in JSON.
  std::string_view text;
};

/// Describes an enumeration.
struct EnumerationType {
  /// Such as "Status", or "EBT.ModelType" for an enumeration inside a record.
  std::string_view name;
  std::span<const CaseDescription> cases;
};

/// A value of a record and the rule of its field. Valid as long as the record.
template <typename T, typename OneRule>
struct Ruled {
  const T& value;
  const OneRule& rule;
};
using RuledValue =
    std::variant<Ruled<std::string, StringRule>, Ruled<std::int64_t, NumericRule<std::int64_t>>,
                 Ruled<std::vector<std::string>, ArrayRule>>;

/// Called for each value that has a rule. `path` consists of JSON keys: `trace.history[2].requestId`. May
/// throw: the exception leaves `AnyRecord::visitRules`.
using RuleVisitor = std::function<void(const std::string& path, const RuledValue& value)>;

struct RecordType;

/// A record whose type is known at run time. `RecordType::decode` creates it.
class AnyRecord {
 public:
  [[nodiscard]] const RecordType& type() const { return *type_; }
  /// Like `models::encode`.
  [[nodiscard]] std::expected<std::string, JSONError> encode(const JSONFormat& format = {}) const;
  /// Calls `visitor` for each value that is present and has a rule, also in nested records, in the order of
  /// the fields. Checks nothing: the visitor may compare the value with its rule.
  void visitRules(const RuleVisitor& visitor) const;
  /// Returns the record's own `containsUnknownDefaultOpenApiCase()`, or no value if it doesn't define that
  /// function.
  [[nodiscard]] std::optional<bool> containsUnknownDefaultOpenApiCase() const;
  [[nodiscard]] std::size_t hash() const;
  /// True if type and content are equal.
  bool operator==(const AnyRecord& other) const;

 private:
  friend struct RecordType;
  explicit AnyRecord(const RecordType& type);

  const RecordType* type_;
  std::unique_ptr<void, void (*)(void*)> record_;
};

/// Describes a record type.
struct RecordType {
  std::string_view name;
  /// In the order of the members.
  std::span<const FieldDescription> fields;

  /// Like `models::decode`.
  [[nodiscard]] std::expected<AnyRecord, JSONError> decode(std::string_view text,
                                                           const JSONLimits& limits = {}) const;

  /// Functions on a record of this type. `AnyRecord` calls them.
  struct Operations {
    const json::RecordTable& (*table)();
    void* (*make)();
    void (*destroy)(void*);
    bool (*equal)(const void*, const void*);
    std::size_t (*hash)(const void*);
    void (*visitRules)(const void*, const RuleVisitor&);
    std::optional<bool> (*containsUnknownCase)(const void*);
  } operations;
};

/// Return all 41 records and all 19 enumerations, in ascending order of their names' code points.
[[nodiscard]] std::span<const RecordType> recordTypes();
[[nodiscard]] std::span<const EnumerationType> enumerationTypes();

/// Return the type with this name, which is case-sensitive, or null.
[[nodiscard]] const RecordType* findRecordType(std::string_view name);
[[nodiscard]] const EnumerationType* findEnumerationType(std::string_view name);

}  // namespace models
}  // namespace tilvanego
