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
#include <tilvanego/platform/HostCode.h>
#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/CaseNames.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// How the bytes of a response become a body.
enum class BodyKind : std::uint8_t {
  text,   ///< `std::string`: the bytes as UTF-8
  url,    ///< `URL`: the bytes are written to a file, the body is its URL
  empty,  ///< `Empty` or `std::monostate`: the bytes are ignored
  bytes,  ///< `Data` or `Bytes`: the bytes themselves
  other   ///< any other type: decoded from JSON, or by a builder class of the host
};

template <>
inline constexpr bool showsCaseNames<BodyKind> = true;

/// Describes the body type T of a response to a builder, which isn't a template itself. `bodyTypeOf<T>()`
/// returns it; it lives as long as the process. A builder passes a body on as a `std::any` that holds a T.
struct BodyType {
  using Body = std::expected<std::any, Failure>;

  BodyKind kind;
  /// T's name in C++.
  std::string name;
  /// Only for `empty`: returns T's one value.
  std::any (*makeEmpty)() = nullptr;
  /// Only for `bytes`: returns the bytes as a T.
  std::any (*fromBytes)(const Data& data) = nullptr;
  /// Only for `other`: returns T's value for a response without a body; null if T has no such value.
  std::any (*makeNil)() = nullptr;
  /// Only for `other`: decodes JSON with the settings of `helper`; null if T can't be decoded from JSON.
  Body (*decode)(const CodableHelper& helper, const Data& data) = nullptr;
};

/// Specialise it as `true` if a builder class of the host makes the bodies of type T. T then needs no JSON
/// form:
///
/// ```cpp
/// struct Picture {
///   Data pixels;
/// };
/// template <>
/// inline constexpr bool tilvanego::hasCustomBuilder<Picture> = true;
/// ```
///
/// The configuration's factory must return that class from `getNonDecodableBuilder`: the library's own
/// builders end the process at such a body.
template <typename T>
inline constexpr bool hasCustomBuilder = false;

}  // namespace tilvanego

namespace tilvanego::detail {

template <typename T>
concept JSONDecodable = requires(json::Reader& reader, T& value) {
  { json::Codec<T>::read(reader, value) } -> std::same_as<bool>;
};

/// Whether T can be read from JSON, with its elements: the codecs of collections don't check the element
/// type.
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

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// Returns the description of T. T must be copyable, and must be one of the types of `BodyKind`, readable
/// from JSON, or marked by `hasCustomBuilder`.
template <std::copy_constructible T>
[[nodiscard]] const BodyType& bodyTypeOf() {
  static_assert(detail::bodyKindOf<T>() != BodyKind::other || detail::isReadable<T> || hasCustomBuilder<T>,
                "this body type can't be read from JSON: give it, or what it holds, a static jsonFields(), "
                "CodingKeys or a specialisation of json::Codec, include the header that declares it, or set "
                "tilvanego::hasCustomBuilder for it if a kind of builder of your own makes such bodies");
  // Never destroyed, because a request may end while the process exits.
  static const BodyType& type = *new BodyType(detail::describeBodyType<T>());
  return type;
}

}  // namespace tilvanego
