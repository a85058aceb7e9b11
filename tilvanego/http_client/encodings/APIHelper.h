#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/http_client/encodings/AnyValue.h>
#include <tilvanego/values/QueryItem.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Turns loosely typed parameters into the texts of headers, paths and queries. Pure functions for any
/// thread.
class APIHelper {
 public:
  APIHelper() = delete;

  using OptionalParameters = std::map<std::string, std::optional<AnyValue>>;

  /// A query parameter of which it is said how a collection goes out.
  struct ExplodedValue {
    std::optional<AnyValue> wrappedValue;
    /// One item for each element; otherwise one item with the elements joined by ",".
    bool isExplode = false;

    bool operator==(const ExplodedValue&) const = default;
  };

  /// The entries that have a value; none, rather than an empty dictionary, if there is no such entry.
  [[nodiscard]] static std::optional<Parameters> rejectNil(const OptionalParameters& source);

  /// The entries that have a value as texts, the elements of a collection joined by ",". May be empty.
  [[nodiscard]] static std::map<std::string, std::string> rejectNilHeaders(const OptionalParameters& source);

  /// The entries with each boolean replaced by the text "true" or "false". None gives none.
  [[nodiscard]] static std::optional<Parameters> convertBoolToString(std::optional<Parameters> source);

  /// The raw text of an enumeration's case, the default text form of any other value. None gives none.
  [[nodiscard]] static std::optional<std::string> convertAnyToString(const std::optional<AnyValue>& value);

  /// What stands in a path: a collection's elements joined by ",", the raw text of an enumeration's case, any
  /// other value unchanged.
  [[nodiscard]] static AnyValue mapValueToPathItem(const AnyValue& source);

  /// Query items in ascending order of the names' bytes, a collection's elements in their order; entries
  /// without a value are left out. None if there is no item. The second form explodes every collection.
  [[nodiscard]] static std::optional<std::vector<QueryItem>> mapValuesToQueryItems(
      const std::map<std::string, ExplodedValue>& source);
  [[nodiscard]] static std::optional<std::vector<QueryItem>> mapValuesToQueryItems(
      const OptionalParameters& source);
  [[nodiscard]] static std::optional<std::vector<QueryItem>> mapValuesToQueryItems(const Parameters& source);
};

}  // namespace tilvanego
