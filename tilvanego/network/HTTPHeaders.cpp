#include <tilvanego/network/HTTPHeaders.h>

#include <algorithm>
#include <utility>

#include <tilvanego/values/ASCII.h>

namespace [[gnu::visibility("default")]] tilvanego {

namespace {

bool isNamed(const HTTPHeaders::Field& field, std::string_view name) {
  return field.name.size() == name.size() && detail::equalIgnoringASCIICase(field.name, name);
}

}  // namespace

HTTPHeaders::HTTPHeaders(std::initializer_list<std::pair<std::string_view, std::string_view>> fields) {
  for (const auto& [name, value] : fields) setValue(name, std::string(value));
}

std::vector<HTTPHeaders::Field>::iterator HTTPHeaders::find(std::string_view name) {
  return std::ranges::find_if(fields_, [&](const Field& field) { return isNamed(field, name); });
}

std::optional<std::string_view> HTTPHeaders::value(std::string_view name) const {
  const auto found = std::ranges::find_if(fields_, [&](const Field& field) { return isNamed(field, name); });
  if (found == fields_.end()) return std::nullopt;
  return found->value;
}

void HTTPHeaders::setValue(std::string_view name, std::string value) {
  if (const auto found = find(name); found != fields_.end()) {
    found->value = std::move(value);
  } else {
    fields_.push_back({std::string(name), std::move(value)});
  }
}

void HTTPHeaders::addValue(std::string_view name, std::string value) {
  if (const auto found = find(name); found != fields_.end()) {
    found->value.append(", ").append(value);
  } else {
    fields_.push_back({std::string(name), std::move(value)});
  }
}

void HTTPHeaders::remove(std::string_view name) {
  if (const auto found = find(name); found != fields_.end()) fields_.erase(found);
}

}  // namespace tilvanego
