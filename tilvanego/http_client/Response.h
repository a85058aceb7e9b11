#pragma once

#include <algorithm>
#include <any>
#include <concepts>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/http_client/MadeOnce.h>
#include <tilvanego/network/TransferMetrics.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/Lifetime.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The body of a response without one, as for DELETE.
struct Empty {
  bool operator==(const Empty&) const = default;
};

/// Compares names of header fields, case-insensitive for ASCII letters (RFC 9110, section 5.1).
struct HeaderNameLess {
  using is_transparent = void;
  [[nodiscard]] bool operator()(std::string_view left, std::string_view right) const {
    return std::ranges::lexicographical_compare(left, right, [](char a, char b) {
      return static_cast<unsigned char>(detail::asciiLowercased(a)) <
             static_cast<unsigned char>(detail::asciiLowercased(b));
    });
  }
};

/// Header fields by name, with the operations of a `std::map`, to which it converts. Names are
/// case-insensitive, their case is kept:
///
/// ```cpp
/// std::string typeOf(const ResponseHeader& header) {
///   const auto found = header.find("Content-Type");
///   return found != header.end() ? found->second : "";
/// }
/// ```
///
/// The fields of a response are read at the first access, which may throw `std::bad_alloc`. Threads may share
/// one object as they may share a `std::map`.
class ResponseHeader {
 public:
  using Map = std::map<std::string, std::string, HeaderNameLess>;
  using key_type = Map::key_type;
  using mapped_type = Map::mapped_type;
  using value_type = Map::value_type;
  using key_compare = Map::key_compare;
  using size_type = Map::size_type;
  using difference_type = Map::difference_type;
  using reference = Map::reference;
  using const_reference = Map::const_reference;
  using iterator = Map::iterator;
  using const_iterator = Map::const_iterator;

  ResponseHeader() = default;
  ResponseHeader(std::initializer_list<value_type> fields) : ResponseHeader(Map(fields)) {}
  template <std::input_iterator Iterator>
  ResponseHeader(Iterator first, Iterator last) : ResponseHeader(Map(first, last)) {}
  ResponseHeader(Map fields) : map_(std::make_unique<Map>(std::move(fields))) {}
  /// The fields of the response whose values are UTF-8; others are left out. It must not be null.
  explicit ResponseHeader(std::shared_ptr<const HTTPURLResponse> response) : response_(std::move(response)) {}
  ResponseHeader(const ResponseHeader& other);
  ResponseHeader(ResponseHeader&& other) = default;
  ResponseHeader& operator=(ResponseHeader other) noexcept {
    response_ = std::move(other.response_);
    map_ = std::move(other.map_);
    return *this;
  }
  ~ResponseHeader() = default;

  operator const Map&() const TILVANEGO_LIFETIMEBOUND { return map(); }

  [[nodiscard]] iterator begin() TILVANEGO_LIFETIMEBOUND { return map().begin(); }
  [[nodiscard]] iterator end() TILVANEGO_LIFETIMEBOUND { return map().end(); }
  [[nodiscard]] const_iterator begin() const TILVANEGO_LIFETIMEBOUND { return cbegin(); }
  [[nodiscard]] const_iterator end() const TILVANEGO_LIFETIMEBOUND { return cend(); }
  [[nodiscard]] const_iterator cbegin() const TILVANEGO_LIFETIMEBOUND { return map().cbegin(); }
  [[nodiscard]] const_iterator cend() const TILVANEGO_LIFETIMEBOUND { return map().cend(); }
  [[nodiscard]] auto rbegin() const TILVANEGO_LIFETIMEBOUND { return map().crbegin(); }
  [[nodiscard]] auto rend() const TILVANEGO_LIFETIMEBOUND { return map().crend(); }
  [[nodiscard]] size_type size() const { return map().size(); }
  [[nodiscard]] bool empty() const { return map().empty(); }

  [[nodiscard]] iterator find(std::string_view name) TILVANEGO_LIFETIMEBOUND { return map().find(name); }
  [[nodiscard]] const_iterator find(std::string_view name) const TILVANEGO_LIFETIMEBOUND {
    return std::as_const(map()).find(name);
  }
  [[nodiscard]] iterator lower_bound(std::string_view name) TILVANEGO_LIFETIMEBOUND {
    return map().lower_bound(name);
  }
  [[nodiscard]] const_iterator lower_bound(std::string_view name) const TILVANEGO_LIFETIMEBOUND {
    return std::as_const(map()).lower_bound(name);
  }
  [[nodiscard]] bool contains(std::string_view name) const { return map().contains(name); }
  [[nodiscard]] size_type count(std::string_view name) const { return map().count(name); }
  [[nodiscard]] std::string& at(const std::string& name) TILVANEGO_LIFETIMEBOUND { return map().at(name); }
  [[nodiscard]] const std::string& at(const std::string& name) const TILVANEGO_LIFETIMEBOUND {
    return map().at(name);
  }

  std::string& operator[](std::string name) TILVANEGO_LIFETIMEBOUND { return map()[std::move(name)]; }
  auto insert(value_type field) TILVANEGO_LIFETIMEBOUND { return map().insert(std::move(field)); }
  template <typename... Arguments>
  auto insert(Arguments&&... arguments) TILVANEGO_LIFETIMEBOUND {
    return map().insert(std::forward<Arguments>(arguments)...);
  }
  template <typename... Arguments>
  auto insert_or_assign(Arguments&&... arguments) TILVANEGO_LIFETIMEBOUND {
    return map().insert_or_assign(std::forward<Arguments>(arguments)...);
  }
  template <typename... Arguments>
  auto emplace(Arguments&&... arguments) TILVANEGO_LIFETIMEBOUND {
    return map().emplace(std::forward<Arguments>(arguments)...);
  }
  template <typename... Arguments>
  auto try_emplace(Arguments&&... arguments) TILVANEGO_LIFETIMEBOUND {
    return map().try_emplace(std::forward<Arguments>(arguments)...);
  }
  iterator erase(const_iterator field) TILVANEGO_LIFETIMEBOUND { return map().erase(field); }
  size_type erase(const std::string& name) { return map().erase(name); }
  void clear() { map().clear(); }

  /// Compares names case-sensitively.
  friend bool operator==(const ResponseHeader& left, const ResponseHeader& right) {
    return left.map() == right.map();
  }

 private:
  /// The fields, read if they weren't.
  [[nodiscard]] Map& map() const TILVANEGO_LIFETIMEBOUND {
    auto* const read = map_.get();
    return read ? *read : readFields();
  }
  Map& readFields() const;

  /// Where the fields come from at the first access; null for no fields.
  std::shared_ptr<const HTTPURLResponse> response_;
  mutable detail::MadeOnce<Map> map_;
};

namespace support {

/// Returns the header fields whose values are UTF-8; others are left out.
[[nodiscard]] ResponseHeader::Map headerTexts(const HTTPURLResponse& response);

}  // namespace support

/// The response of a successful request.
template <typename T>
struct Response {
  Response(int status, ResponseHeader fields, T content, std::optional<Data> bytes)
      : statusCode(status), header(std::move(fields)), body(std::move(content)), bodyData(std::move(bytes)) {}
  Response(const HTTPURLResponse& response, T content, std::optional<Data> bytes)
      : Response(response.statusCode(), support::headerTexts(response), std::move(content),
                 std::move(bytes)) {
    metrics = response.metrics();
  }
  /// The same with a header that is read at the first access. The response must not be null.
  Response(const std::shared_ptr<const HTTPURLResponse>& response, T content, std::optional<Data> bytes)
      : statusCode(response->statusCode()),
        header(response),
        body(std::move(content)),
        bodyData(std::move(bytes)),
        metrics(response->metrics()) {}
  /// The same response with a body of another type.
  template <typename Former>
  Response(Response<Former>&& response, T content)
      : statusCode(response.statusCode),
        header(std::move(response.header)),
        body(std::move(content)),
        bodyData(std::move(response.bodyData)),
        metrics(std::move(response.metrics)) {}

  int statusCode;
  /// The header fields, with the names as the server sent them: in lower case over HTTP/2. Fields whose value
  /// isn't UTF-8 are left out.
  ResponseHeader header;
  T body;
  /// The bytes of the body, if the session returned data.
  std::optional<Data> bodyData;
  /// What the last try of the request took; null unless the session has an observer.
  std::shared_ptr<const TransferMetrics> metrics{};

  /// Compares header names case-sensitively; ignores the metrics.
  bool operator==(const Response& other) const
    requires std::equality_comparable<T>
  {
    return statusCode == other.statusCode && header == other.header && body == other.body &&
           bodyData == other.bodyData;
  }
};

/// A response whose body has the builder's body type, which is known at run time only.
using AnyResponse = Response<std::any>;

}  // namespace tilvanego
