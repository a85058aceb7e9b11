#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/json.hpp>
#include <nlohmann/json.hpp>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include <tilvanego/Models.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/values/DateFormats.h>

/// Other libraries' trees read into the library's records, and the records written by them: keys are found by
/// the same tables, dates and enumerations converted by the same functions.
namespace tilvanego::bench {

// What a value of each library's tree is

inline bool isNull(const simdjson::dom::element& value) { return value.is_null(); }
inline std::string_view textOf(const simdjson::dom::element& value) { return value.get_string().value(); }
inline std::int64_t integerOf(const simdjson::dom::element& value) { return value.get_int64().value(); }
inline bool booleanOf(const simdjson::dom::element& value) { return value.get_bool().value(); }
void eachMember(const simdjson::dom::element& value, auto&& use) {
  for (const auto [key, member] : simdjson::dom::object(value.get_object().value())) use(key, member);
}
void eachElement(const simdjson::dom::element& value, auto&& use) {
  for (const simdjson::dom::element element : simdjson::dom::array(value.get_array().value())) use(element);
}

inline std::string_view viewOf(const rapidjson::Value& value) {
  return {value.GetString(), value.GetStringLength()};
}
inline bool isNull(const rapidjson::Value& value) { return value.IsNull(); }
inline std::string_view textOf(const rapidjson::Value& value) { return viewOf(value); }
inline std::int64_t integerOf(const rapidjson::Value& value) { return value.GetInt64(); }
inline bool booleanOf(const rapidjson::Value& value) { return value.GetBool(); }
void eachMember(const rapidjson::Value& value, auto&& use) {
  for (const auto& member : value.GetObject()) use(viewOf(member.name), member.value);
}
void eachElement(const rapidjson::Value& value, auto&& use) {
  for (const auto& element : value.GetArray()) use(element);
}

inline bool isNull(const boost::json::value& value) { return value.is_null(); }
inline std::string_view textOf(const boost::json::value& value) {
  return {value.get_string().data(), value.get_string().size()};
}
inline std::int64_t integerOf(const boost::json::value& value) { return value.get_int64(); }
inline bool booleanOf(const boost::json::value& value) { return value.get_bool(); }
void eachMember(const boost::json::value& value, auto&& use) {
  for (const auto& member : value.get_object())
    use(std::string_view(member.key().data(), member.key().size()), member.value());
}
void eachElement(const boost::json::value& value, auto&& use) {
  for (const auto& element : value.get_array()) use(element);
}

inline bool isNull(const nlohmann::json& value) { return value.is_null(); }
inline std::string_view textOf(const nlohmann::json& value) { return value.get_ref<const std::string&>(); }
inline std::int64_t integerOf(const nlohmann::json& value) { return value.get<std::int64_t>(); }
inline bool booleanOf(const nlohmann::json& value) { return value.get<bool>(); }
void eachMember(const nlohmann::json& value, auto&& use) {
  for (auto member = value.begin(); member != value.end(); ++member)
    use(std::string_view(member.key()), *member);
}
void eachElement(const nlohmann::json& value, auto&& use) {
  for (const auto& element : value) use(element);
}

// From a tree into a record

template <typename Tree, typename T>
void assign(const Tree& tree, T& value);

template <typename Tree, models::Record R>
void assignRecord(const Tree& tree, R& record) {
  using Assign = void (*)(const Tree&, R&);
  static constexpr auto assigners = []<std::size_t... index>(std::index_sequence<index...>) {
    return std::array<Assign, sizeof...(index)>{[](const Tree& member, R& into) {
      assign(member, json::detail::Layout<R>::template member<index>(into));
    }...};
  }(std::make_index_sequence<json::fieldCount<R>>());
  eachMember(tree, [&](std::string_view key, const auto& member) {
    const std::size_t field = json::recordTable<R>().find(key);
    if (field < assigners.size()) assigners[field](member, record);
  });
}

template <typename Tree, typename T>
void assign(const Tree& tree, T& value) {
  if constexpr (json::detail::OptionalTraits<T>::value) {
    if (!isNull(tree)) assign(tree, value.emplace());
  } else if constexpr (std::is_same_v<T, std::string>) {
    value = textOf(tree);
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    value = integerOf(tree);
  } else if constexpr (std::is_same_v<T, bool>) {
    value = booleanOf(tree);
  } else if constexpr (std::is_same_v<T, Date>) {
    value = readAPIDate(textOf(tree)).value();
  } else if constexpr (std::is_enum_v<T>) {
    value = fromRawText<T>(textOf(tree)).value_or(RawTexts<T>::fallback);
  } else if constexpr (models::Record<T>) {
    assignRecord(tree, value);
  } else {
    eachElement(tree, [&](const auto& element) { assign(element, value.emplace_back()); });
  }
}

// From a record into a text or a tree

template <models::Record R>
void eachField(const R& record, auto&& use) {
  [&]<std::size_t... index>(std::index_sequence<index...>) {
    const auto one = [&](std::string_view key, const auto& member) {
      if constexpr (json::detail::OptionalTraits<std::remove_cvref_t<decltype(member)>>::value) {
        if (member) use(key, *member);
      } else {
        use(key, member);
      }
    };
    (one(rawText(static_cast<typename R::CodingKeys>(index)),
         json::detail::Layout<R>::template member<index>(record)),
     ...);
  }(std::make_index_sequence<json::fieldCount<R>>());
}

template <typename T>
void put(rapidjson::Writer<rapidjson::StringBuffer>& writer, const T& value) {
  const auto putText = [&](std::string_view text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  };
  if constexpr (std::is_same_v<T, std::string>) {
    putText(value);
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    writer.Int64(value);
  } else if constexpr (std::is_same_v<T, bool>) {
    writer.Bool(value);
  } else if constexpr (std::is_same_v<T, Date>) {
    putText(apiDateText(value));
  } else if constexpr (std::is_enum_v<T>) {
    putText(rawText(value));
  } else if constexpr (models::Record<T>) {
    writer.StartObject();
    eachField(value, [&](std::string_view key, const auto& member) {
      writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
      put(writer, member);
    });
    writer.EndObject();
  } else {
    writer.StartArray();
    for (const auto& element : value) put(writer, element);
    writer.EndArray();
  }
}

/// `Tree` is Boost's or nlohmann's value, `Object` and `List` what it can be made of.
template <typename Tree, typename Object, typename List, typename T>
Tree treeOf(const T& value) {
  if constexpr (std::is_same_v<T, Date>) {
    return Tree(apiDateText(value));
  } else if constexpr (std::is_enum_v<T>) {
    return Tree(std::string(rawText(value)));
  } else if constexpr (models::Record<T>) {
    Object object;
    eachField(value, [&](std::string_view key, const auto& member) {
      object.emplace(key, treeOf<Tree, Object, List>(member));
    });
    return Tree(std::move(object));
  } else if constexpr (requires { value.front(); } && !std::is_same_v<T, std::string>) {
    List list;
    for (const auto& element : value) list.push_back(treeOf<Tree, Object, List>(element));
    return Tree(std::move(list));
  } else {
    return Tree(value);
  }
}

}  // namespace tilvanego::bench
