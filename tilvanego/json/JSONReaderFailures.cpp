#include <string>
#include <utility>

#include <tilvanego/json/JSONReader.h>

// How the reader stores the reason of a failure.
namespace tilvanego {
namespace [[gnu::visibility("default")]] json {

bool Reader::failAt(const char* where, JSONFailure failure) {
  error_.failure = failure;
  if (isTooLong_) {
    error_.failure = JSONFailure::beyondLimit;
    error_.detail = "the text is longer than " + std::to_string(limits_.bytes) + " bytes";
  }
  error_.offset = static_cast<std::size_t>(where - begin_);
  return false;
}

bool Reader::fail(JSONFailure failure, std::string detail) {
  error_.detail = std::move(detail);
  return failAt(value_, failure);
}

bool Reader::failBeyondMemory() {
  return fail(JSONFailure::beyondLimit,
              "what was read takes more than " + std::to_string(limits_.memory) + " bytes of memory");
}

Reader::Next Reader::failBeyondElements() {
  value_ = cursor_;
  fail(JSONFailure::beyondLimit, "more than " + std::to_string(limits_.elements) + " elements");
  return Next::failure;
}

bool Reader::failInside(JSONPathStep step) {
  error_.stepsOutward.push_back(std::move(step));
  return false;
}

bool Reader::failIn(std::string_view piece, JSONError error) {
  error_ = std::move(error);
  error_.offset += static_cast<std::size_t>(piece.data() - begin_);
  return false;
}

}  // namespace json
}  // namespace tilvanego
