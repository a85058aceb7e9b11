#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include <tilvanego/json/Codec.h>
#include <tilvanego/json/CodingKeys.h>
#include <tilvanego/json/RecordTable.h>

/// A record lists its fields once, in a static function. The list defines how it is read and written:
///
/// ```cpp
/// #include <tilvanego/json/ValueCodecs.h>
///
/// struct Trace {
///   std::optional<std::string> cashier;
///   Decimal amount;
///   std::vector<std::string> tags;
///
///   static constexpr auto jsonFields() {
///     return json::fields(json::field("cashier", &Trace::cashier),
///                         json::field<json::AmountFromText>("amount", &Trace::amount),
///                         json::field("tags", &Trace::tags));
///   }
/// };
/// ```
///
/// A plain aggregate may list only its keys (`CodingKeys.h`), if each field has the codec of its type.
///
/// A field of type `std::optional` may be missing or null on reading, and is not written if it has no value.
/// All other fields are required. The values of unknown keys must be valid JSON, and are skipped. The first
/// of equal keys counts. A record must have a default constructor. A record with private members must declare
/// `json::RecordAccess` a friend.
namespace tilvanego {
namespace [[gnu::visibility("default")]] json {

/// One field of a record: its key, its member and its codec.
template <typename Record, typename Member, typename FieldCodec>
struct Field {
  using Type = Member;
  using Coding = FieldCodec;
  std::string_view key;
  Member Record::* member;
};

/// Makes a field. `void` means the codec of the member's type.
template <typename FieldCodec = void, typename Record, typename Member>
[[nodiscard]] constexpr Field<Record, Member, FieldCodec> field(std::string_view key,
                                                                Member Record::* member) {
  return {key, member};
}

template <typename... Fields>
[[nodiscard]] constexpr std::tuple<Fields...> fields(Fields... all) {
  return {all...};
}

/// A record that lists its fields in `jsonFields`.
template <typename T>
concept ListsItsFields = requires { RecordAccess::fields<T>(); };

template <typename T>
concept IsRecord = ListsItsFields<T> || NamesItsKeys<T>;

template <ListsItsFields Record>
inline constexpr auto recordFields = RecordAccess::fields<Record>();

}  // namespace json

namespace json::detail {

template <typename T>
struct OptionalTraits : std::false_type {
  using Value = T;
};
template <typename T>
struct OptionalTraits<std::optional<T>> : std::true_type {
  using Value = T;
};

/// The fields of a record, from `jsonFields` or `CodingKeys`.
template <typename Record>
struct Layout;

template <ListsItsFields Record>
struct Layout<Record> {
  static constexpr std::size_t count = std::tuple_size_v<decltype(RecordAccess::fields<Record>())>;
  template <std::size_t index>
  using At = std::tuple_element_t<index, decltype(RecordAccess::fields<Record>())>;

  [[nodiscard]] static constexpr auto keys() {
    return std::apply([](const auto&... all) { return std::array<std::string_view, count>{all.key...}; },
                      recordFields<Record>);
  }
  template <std::size_t index>
  [[nodiscard]] static auto& member(auto& record) {
    return record.*std::get<index>(recordFields<Record>).member;
  }
};

template <NamesItsKeys Record>
struct Layout<Record> {
  using Keys = RawTexts<typename Record::CodingKeys>;
  static constexpr std::size_t count = Keys::table.size();
  template <std::size_t index>
  struct At {
    using Type = std::remove_reference_t<
        std::tuple_element_t<index, decltype(tieMembers<count>(std::declval<Record&>()))>>;
    using Coding = void;
  };

  [[nodiscard]] static constexpr auto keys() {
    std::array<std::string_view, count> keys{};
    for (std::size_t i = 0; i < count; ++i) keys[i] = Keys::table[i].second;
    return keys;
  }
  template <std::size_t index>
  [[nodiscard]] static auto& member(auto& record) {
    return std::get<index>(tieMembers<count>(record));
  }
};

template <typename Record, std::size_t index>
using FieldAt = typename Layout<Record>::template At<index>;

template <typename OneField>
using CodingOf =
    std::conditional_t<std::is_void_v<typename OneField::Coding>,
                       std::type_identity<Codec<typename OptionalTraits<typename OneField::Type>::Value>>,
                       std::type_identity<typename OneField::Coding>>::type;

/// Computed once for each record: compilers limit the steps of a constant expression.
template <typename Record>
[[gnu::visibility("hidden")]] inline constexpr std::array<std::string_view, Layout<Record>::count> keysOf =
    Layout<Record>::keys();

}  // namespace json::detail

namespace [[gnu::visibility("default")]] json {

template <IsRecord Record>
inline constexpr std::size_t fieldCount = detail::Layout<Record>::count;

/// Returns the keys of a record in the order of its fields.
template <IsRecord Record>
[[nodiscard]] constexpr const std::array<std::string_view, fieldCount<Record>>& recordKeys() {
  return detail::keysOf<Record>;
}

}  // namespace json

namespace json::detail {

/// Most fields are strings: the reader and the writer have special functions for them.
template <typename OneField>
inline constexpr bool isTextField = std::is_same_v<CodingOf<OneField>, Codec<std::string>>;

template <typename Coding, typename T>
inline constexpr bool mayBeAbsent = requires(const T& value) {
  { Coding::isAbsent(value) } -> std::convertible_to<bool>;
};

template <typename Coding, typename T>
[[nodiscard]] bool readKeyed(Reader& reader, T& value, std::string_view key) {
  if constexpr (requires { Coding::read(reader, value, key); }) {
    return Coding::read(reader, value, key);
  } else {
    return Coding::read(reader, value);
  }
}

template <typename Record, std::size_t index>
[[nodiscard]] bool readField(Reader& reader, void* record) {
  using OneField = FieldAt<Record, index>;
  [[maybe_unused]] constexpr std::string_view key = recordKeys<Record>()[index];
  auto& member = Layout<Record>::template member<index>(*static_cast<Record*>(record));
  if constexpr (isTextField<OneField>) {
    return reader.readText(member);
  } else if constexpr (OptionalTraits<typename OneField::Type>::value) {
    if (reader.takeNull()) {
      member.reset();
      return true;
    }
    return readKeyed<CodingOf<OneField>>(reader, RecordAccess::emplaceIn(member), key);
  } else {
    return readKeyed<CodingOf<OneField>>(reader, member, key);
  }
}

template <typename Coding, typename T>
[[nodiscard]] bool writeValue(Writer& writer, const RecordField& field, const T& value) {
  if constexpr (std::is_same_v<Coding, Codec<std::string>>) {
    return writer.fieldText(field, value);
  } else {
    if constexpr (mayBeAbsent<Coding, T>) {
      if (Coding::isAbsent(value)) return true;
    }
    writer.fieldKey(field);
    return Coding::write(writer, value);
  }
}

template <typename Record, std::size_t index>
[[nodiscard]] bool writeField(Writer& writer, const RecordField& field, const void* record) {
  using OneField = FieldAt<Record, index>;
  const auto& member = Layout<Record>::template member<index>(*static_cast<const Record*>(record));
  if constexpr (OptionalTraits<typename OneField::Type>::value) {
    return !member || writeValue<CodingOf<OneField>>(writer, field, *member);
  } else {
    return writeValue<CodingOf<OneField>>(writer, field, member);
  }
}

/// The table holds the keys as they are written, so they must not need an escape.
[[nodiscard]] constexpr bool isPlainKey(std::string_view key) {
  return std::ranges::all_of(
      key, [](char c) { return c >= 0x20 && c < 0x7F && c != '"' && c != '\\' && c != '/'; });
}

/// The quoted keys of a record, one after the other.
template <typename Record>
[[nodiscard]] consteval auto quoteKeys() {
  constexpr std::size_t size = [] {
    std::size_t sum = 0;
    for (const std::string_view key : recordKeys<Record>()) sum += key.size() + 2;
    return sum;
  }();
  std::array<char, size> text{};
  auto at = text.begin();
  for (const std::string_view key : recordKeys<Record>()) {
    *at++ = '"';
    at = std::ranges::copy(key, at).out;
    *at++ = '"';
  }
  return text;
}

template <typename Record>
[[gnu::visibility("hidden")]] inline constexpr auto quotedKeys = quoteKeys<Record>();

template <typename Record>
[[nodiscard]] consteval auto sortFields() {
  std::array<std::uint8_t, fieldCount<Record>> order{};
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<std::uint8_t>(i);
  std::ranges::sort(order, {}, [](std::uint8_t i) { return recordKeys<Record>()[i]; });
  return order;
}

/// Returns the field after field `index` in `order`. The first field follows the last one.
template <std::size_t count>
[[nodiscard]] constexpr std::uint8_t fieldAfter(const std::array<std::uint8_t, count>& order,
                                                std::size_t index) {
  const auto place = std::ranges::find(order, index) + 1;
  return place == order.end() ? order.front() : *place;
}

template <typename Record>
[[nodiscard]] consteval auto describeFields() {
  std::array<RecordField, fieldCount<Record>> all{};
  const auto describe = [&]<std::size_t... index>(std::index_sequence<index...>) {
    ((all[index].read = &readField<Record, index>, all[index].write = &writeField<Record, index>), ...);
  };
  describe(std::make_index_sequence<fieldCount<Record>>());
  const auto order = sortFields<Record>();
  std::size_t start = 0;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const std::size_t size = recordKeys<Record>()[i].size() + 2;
    all[i].afterInSorted = fieldAfter(order, i);
    all[i].quoted = std::string_view(quotedKeys<Record>.data() + start, size);
    std::ranges::copy(all[i].quoted.substr(0, all[i].lead.size()), all[i].lead.begin());
    start += size;
  }
  return all;
}

template <typename Record>
[[nodiscard]] consteval auto hashFields() {
  std::array<std::uint8_t, 4 * std::bit_ceil(fieldCount<Record> + 1)> places{};
  places.fill(RecordTable::freeSlot);
  for (std::size_t i = 0; i < fieldCount<Record>; ++i) {
    std::size_t place = keyHash(recordKeys<Record>()[i]) % places.size();
    while (places[place] != RecordTable::freeSlot) place = (place + 1) % places.size();
    places[place] = static_cast<std::uint8_t>(i);
  }
  return places;
}

template <typename OneField>
inline constexpr bool isRequired = !OptionalTraits<typename OneField::Type>::value &&
                                   !mayBeAbsent<CodingOf<OneField>, typename OneField::Type>;

/// Whether a missing field can be cleared: an optional, or a codec with `makeAbsent`.
template <typename OneField>
inline constexpr bool isClearable =
    OptionalTraits<typename OneField::Type>::value ||
    requires(typename OneField::Type& value) { CodingOf<OneField>::makeAbsent(value); };

/// One bit for each field for whose type `holds` returns true.
template <typename Record>
[[nodiscard]] consteval std::uint64_t fieldsWhere(auto holds) {
  return [=]<std::size_t... index>(std::index_sequence<index...>) {
    return (std::uint64_t{0} | ... |
            (holds.template operator()<FieldAt<Record, index>>() ? std::uint64_t{1} << index : 0));
  }(std::make_index_sequence<fieldCount<Record>>());
}

template <typename Record, std::size_t index>
void clearField(Record& record) {
  if constexpr (isClearable<FieldAt<Record, index>>) {
    auto& member = Layout<Record>::template member<index>(record);
    if constexpr (OptionalTraits<typename FieldAt<Record, index>::Type>::value) {
      member.reset();
    } else {
      CodingOf<FieldAt<Record, index>>::makeAbsent(member);
    }
  }
}

template <typename Record>
void clearFields([[maybe_unused]] void* record, [[maybe_unused]] std::uint64_t which) {
  [&]<std::size_t... index>(std::index_sequence<index...>) {
    ((which >> index & 1 ? clearField<Record, index>(*static_cast<Record*>(record)) : void()), ...);
  }(std::make_index_sequence<fieldCount<Record>>());
}

template <typename Record>
[[nodiscard]] consteval bool keysAreSound() {
  auto keys = recordKeys<Record>();
  if (!std::ranges::all_of(keys, isPlainKey)) return false;
  std::ranges::sort(keys);
  return std::ranges::adjacent_find(keys) == keys.end();
}

template <typename Record>
struct Description {
  static_assert(fieldCount<Record> <= RecordTable::maxFields, "a record has at most 64 fields");
  static_assert(keysAreSound<Record>(),
                "a record's keys are printable ASCII without quotes or slashes, each said once");
  static constexpr auto fields = describeFields<Record>();
  static constexpr auto sorted = sortFields<Record>();
  static constexpr auto places = hashFields<Record>();
  static constexpr RecordTable table{fields,
                                     sorted.data(),
                                     places,
                                     fieldsWhere<Record>([]<typename F>() { return isRequired<F>; }),
                                     fieldsWhere<Record>([]<typename F>() { return isClearable<F>; }),
                                     &clearFields<Record>};
};

}  // namespace json::detail

namespace [[gnu::visibility("default")]] json {

template <IsRecord Record>
[[nodiscard]] const RecordTable& recordTable() {
  if constexpr (NamesItsKeys<Record>) {
    return Described<Record>::table();
  } else {
    return detail::Description<Record>::table;
  }
}

template <IsRecord Record>
struct Codec<Record> {
  [[nodiscard]] static bool read(Reader& reader, Record& record) {
    return reader.readRecord(recordTable<Record>(), &record);
  }
  [[nodiscard]] static bool write(Writer& writer, const Record& record) {
    return writer.writeRecord(recordTable<Record>(), &record);
  }
};

}  // namespace json
}  // namespace tilvanego
