#pragma once

#include <any>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <map>
#include <optional>
#include <string>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

#include <tilvanego/http_client/Response.h>
#include <tilvanego/http_client/coding/CodableHelper.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/network/Failure.h>
#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/URL.h>

namespace tilvanego {

/// The ways in which a response's bytes become a body.
enum class BodyKind : std::uint8_t {
  text,   ///< `std::string`: the bytes as UTF-8
  url,    ///< `URL`: the bytes go to a file, the body is its URL
  empty,  ///< `Empty` or `std::monostate`: the bytes are passed over
  bytes,  ///< `Data` or `Bytes`: the bytes themselves
  other   ///< JSON, or whatever a builder of a host's own makes of them
};

/// What a builder, which isn't generic itself, knows of its response's type T. Made by `bodyTypeOf<T>()`,
/// with the same lifetime as the process. A body crosses the builder as a `std::any` that holds exactly a T.
struct BodyType {
  using Body = std::expected<std::any, Failure>;

  BodyKind kind;
  /// T's name as a C++ programmer writes it.
  std::string name;
  /// `empty` alone: T's one value.
  std::any (*makeEmpty)() = nullptr;
  /// `bytes` alone.
  std::any (*fromBytes)(const Data& data) = nullptr;
  /// `other` alone: T's value for no body at all; null if it has none.
  std::any (*makeNil)() = nullptr;
  /// `other` alone: reads JSON with the helper's settings; null if T can't be read from JSON.
  Body (*decode)(const CodableHelper& helper, const Data& data) = nullptr;
};

/// Says that bodies of type T are made by a kind of builder of the host's own, so that T needs no JSON form:
///
/// ```cpp
/// struct Picture {
///   Data pixels;
/// };
/// template <>
/// inline constexpr bool tilvanego::hasCustomBuilder<Picture> = true;
/// ```
///
/// The configuration's factory then names the kind in `getNonDecodableBuilder`; the library's own kinds end
/// the process at such a body.
template <typename T>
inline constexpr bool hasCustomBuilder = false;

namespace detail {

std::string typeName(const std::type_info& type);

template <typename T>
concept NilConstructible = std::convertible_to<std::nullopt_t, T> || std::convertible_to<std::nullptr_t, T>;

template <typename T>
concept JSONDecodable = requires(json::Reader& reader, T& value) {
  { json::Codec<T>::read(reader, value) } -> std::same_as<bool>;
};

/// Whether T can be read from JSON, and all that it holds: the codecs of collections don't ask their
/// elements.
template <typename T>
inline constexpr bool isReadable = JSONDecodable<T>;
template <typename T>
inline constexpr bool isReadable<std::optional<T>> = isReadable<T>;
template <typename T>
inline constexpr bool isReadable<std::vector<T>> = isReadable<T>;
template <typename T, typename Less>
inline constexpr bool isReadable<std::map<std::string, T, Less>> = isReadable<T>;

template <typename T>
constexpr BodyKind bodyKindOf() {
  if constexpr (std::same_as<T, std::string>)
    return BodyKind::text;
  else if constexpr (std::same_as<T, URL>)
    return BodyKind::url;
  else if constexpr (std::same_as<T, Empty> || std::same_as<T, std::monostate>)
    return BodyKind::empty;
  else if constexpr (std::same_as<T, Data> || std::same_as<T, Bytes>)
    return BodyKind::bytes;
  else
    return BodyKind::other;
}

template <typename T>
BodyType describeBodyType() {
  BodyType type{bodyKindOf<T>(), typeName(typeid(T))};
  if constexpr (bodyKindOf<T>() == BodyKind::empty) {
    type.makeEmpty = [] { return std::any(T()); };
  } else if constexpr (std::same_as<T, Data>) {
    type.fromBytes = [](const Data& data) { return std::any(data); };
  } else if constexpr (std::same_as<T, Bytes>) {
    type.fromBytes = [](const Data& data) {
      return std::any(Bytes(data.bytes().begin(), data.bytes().end()));
    };
  } else if constexpr (bodyKindOf<T>() == BodyKind::other) {
    if constexpr (std::convertible_to<std::nullopt_t, T>) {
      type.makeNil = [] { return std::any(std::in_place_type<T>, std::nullopt); };
    } else if constexpr (std::convertible_to<std::nullptr_t, T>) {
      type.makeNil = [] { return std::any(std::in_place_type<T>, nullptr); };
    }
    if constexpr (isReadable<T>) {
      type.decode = [](const CodableHelper& helper, const Data& data) -> BodyType::Body {
        auto value = helper.decode<T>(data);
        if (!value) return std::unexpected(Failure(std::move(value.error())));
        return std::any(std::in_place_type<T>, *std::move(value));
      };
    }
  }
  return type;
}

}  // namespace detail

/// The description of T. T is copyable, and one of the types of `BodyKind` or readable from JSON.
template <std::copy_constructible T>
[[nodiscard]] const BodyType& bodyTypeOf() {
  static_assert(detail::bodyKindOf<T>() != BodyKind::other || detail::isReadable<T> || hasCustomBuilder<T>,
                "this body type can't be read from JSON: give it, or what it holds, a static jsonFields(), "
                "CodingKeys or a specialisation of json::Codec, include the header that declares it, or set "
                "tilvanego::hasCustomBuilder for it if a kind of builder of your own makes such bodies");
  // Never destroyed: a send may end while the process does.
  static const BodyType& type = *new BodyType(detail::describeBodyType<T>());
  return type;
}

}  // namespace tilvanego
