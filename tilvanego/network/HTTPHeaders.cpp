#include <tilvanego/network/HTTPHeaders.h>

#include <algorithm>
#include <utility>

#include <tilvanego/values/ASCII.h>

namespace [[gnu::visibility("default")]] tilvanego {

namespace {

bool isNamed(const HTTPHeaders::Field& field, std::string_view name) {
  if (field.name.size() != name.size()) return false;
  // Mostly in the same case.
  return field.name == name || detail::equalIgnoringASCIICase(field.name, name);
}

}  // namespace

HTTPHeaders::HTTPHeaders(std::initializer_list<std::pair<std::string_view, std::string_view>> fields) {
  for (const auto& [name, value] : fields) setValue(name, std::string(value));
}

void HTTPHeaders::reserve(std::size_t count) { fields_.reserve(count); }

const HTTPHeaders::Field* HTTPHeaders::find(std::string_view name) const {
  return std::ranges::find_if(fields_, [&](const Field& field) { return isNamed(field, name); });
}

std::optional<std::string_view> HTTPHeaders::value(std::string_view name) const {
  const auto* found = find(name);
  return found != fields_.end() ? std::optional<std::string_view>(found->value) : std::nullopt;
}

void HTTPHeaders::setValue(std::string_view name, std::string value) {
  const auto* found = find(name);
  if (found == fields_.end()) {
    fields_.emplace(found, std::string(name), std::move(value));
  } else {
    const auto index = found - fields_.begin();
    fields_.own()[index].value = std::move(value);
  }
}

void HTTPHeaders::addIfAbsent(std::string_view name, std::string_view value) {
  const auto* found = find(name);
  if (found == fields_.end()) fields_.emplace(found, std::string(name), std::string(value));
}

void HTTPHeaders::addValue(std::string_view name, std::string value) {
  if (const auto former = this->value(name)) value = std::string(*former) + ", " + value;
  setValue(name, std::move(value));
}

void HTTPHeaders::remove(std::string_view name) {
  if (const auto* found = find(name); found != fields_.end()) fields_.erase(found);
}

}  // namespace tilvanego
