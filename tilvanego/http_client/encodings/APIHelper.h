#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/http_client/encodings/AnyValue.h>
#include <tilvanego/values/QueryItem.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Converts parameters to the texts of headers, paths and queries. Pure functions; any thread may call them.
class APIHelper {
 public:
  APIHelper() = delete;

  using OptionalParameters = std::map<std::string, std::optional<AnyValue>>;

  /// A query parameter and how a collection is encoded.
  struct ExplodedValue {
    std::optional<AnyValue> wrappedValue;
    /// True: one query item for each element. False: one query item with the elements joined by ",".
    bool isExplode = false;

    bool operator==(const ExplodedValue&) const = default;
  };

  /// Returns the entries that have a value, or `std::nullopt` if there is none.
  [[nodiscard]] static std::optional<Parameters> rejectNil(const OptionalParameters& source);

  /// Returns the entries that have a value as texts, the elements of a collection joined by ",". May be
  /// empty.
  [[nodiscard]] static std::map<std::string, std::string> rejectNilHeaders(const OptionalParameters& source);

  /// Returns the parameters with each boolean replaced by the text "true" or "false".
  [[nodiscard]] static std::optional<Parameters> convertBoolToString(std::optional<Parameters> source);

  /// Returns `AnyValue::description()` of the value: for an enumeration its raw text.
  [[nodiscard]] static std::optional<std::string> convertAnyToString(const std::optional<AnyValue>& value);

  /// Converts a value for a path: the elements of a collection joined by ",", the raw text of an enumeration,
  /// any other value unchanged.
  [[nodiscard]] static AnyValue mapValueToPathItem(const AnyValue& source);

  /// Returns query items in ascending order of the names' bytes, the elements of a collection in their order.
  /// Entries without a value are left out. Returns `std::nullopt` if there is no item. The second and the
  /// third overload return one item for each element of a collection.
  [[nodiscard]] static std::optional<std::vector<QueryItem>> mapValuesToQueryItems(
      const std::map<std::string, ExplodedValue>& source);
  [[nodiscard]] static std::optional<std::vector<QueryItem>> mapValuesToQueryItems(
      const OptionalParameters& source);
  [[nodiscard]] static std::optional<std::vector<QueryItem>> mapValuesToQueryItems(const Parameters& source);
};

}  // namespace tilvanego
