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

/// All records and enumerations of the POI interface by name, for programs that learn at run time which one
/// they want. Those that know their types include their headers instead.
namespace tilvanego::models {

/// One field of a record, in words.
struct FieldDescription {
  std::string_view name;
  std::string_view key;
  /// "String", "Integer", "Boolean", "Date", "UUID", or the name of a record or an enumeration.
  std::string_view type;
  /// A list of such values.
  bool isArray = false;
  bool required = false;
  std::optional<FieldRule::Rule> rule{};

  /// Such as "array of String".
  std::string typeText() const;
};

struct CaseDescription {
  /// Without the underscore that a C++ keyword needs: "void".
  std::string_view name;
  std::string_view text;
};

struct EnumerationType {
  /// "Status", and "EBT.ModelType" for one inside a record.
  std::string_view name;
  std::span<const CaseDescription> cases;
};

/// A value of a record, and the rule of its field. Both belong to others.
template <typename T, typename OneRule>
struct Ruled {
  const T& value;
  const OneRule& rule;
};
using RuledValue =
    std::variant<Ruled<std::string, StringRule>, Ruled<std::int64_t, NumericRule<std::int64_t>>,
                 Ruled<std::vector<std::string>, ArrayRule>>;

/// Told about each value under a rule, with its path in JSON keys: `trace.history[2].requestId`.
using RuleVisitor = std::function<void(const std::string& path, const RuledValue& value)>;

struct RecordType;

/// A record of any type.
class AnyRecord {
 public:
  const RecordType& type() const { return *type_; }
  /// As `models::encode`.
  std::expected<std::string, JSONError> encode(const JSONFormat& format = {}) const;
  /// Shows all values that are there and have a rule, those of records inside too, in the order of the
  /// fields. It is the visitor that says which rules are broken.
  void visitRules(const RuleVisitor& visitor) const;
  /// Whether a field of the record itself holds an unknown text of its enumeration; nothing for the records
  /// that don't tell.
  std::optional<bool> containsUnknownDefaultOpenApiCase() const;
  std::size_t hash() const;
  /// Of the same type and equal.
  bool operator==(const AnyRecord& other) const;

 private:
  friend struct RecordType;
  explicit AnyRecord(const RecordType& type);

  const RecordType* type_;
  std::unique_ptr<void, void (*)(void*)> record_;
};

/// What is known of one record.
struct RecordType {
  std::string_view name;
  std::span<const FieldDescription> fields;

  /// As `models::decode`.
  std::expected<AnyRecord, JSONError> decode(std::string_view text, const JSONLimits& limits = {}) const;

  /// The operations on a record whose type isn't known; `AnyRecord` calls them.
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

/// All 41 records and all 19 enumerations, ascending by the code points of their names.
std::span<const RecordType> recordTypes();
std::span<const EnumerationType> enumerationTypes();

/// Null if there is none of exactly this name.
const RecordType* findRecordType(std::string_view name);
const EnumerationType* findEnumerationType(std::string_view name);

}  // namespace tilvanego::models
