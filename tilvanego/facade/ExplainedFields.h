#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <tilvanego/facade/CallbackExplanation.h>
#include <tilvanego/frame/CallbackParser.h>

/// Explains what a callback holds: the same for each kind, by the names and words that the kind knows.
namespace tilvanego::detail {

/// The names that an item may have for one field.
using FieldSpellings = std::array<std::string_view, CallbackKey<int>::maxAliases>;
/// The status words of one meaning.
using SameWords = std::array<std::string_view, 5>;

/// What the callbacks of one kind may hold.
struct CallbackWords {
  OperationKind kind;
  std::span<const FieldSpellings> fields;
  /// Of the transaction list alone.
  std::span<const FieldSpellings> listFields;
  std::span<const SameWords> words;
};

template <const auto& Keys>
inline constexpr auto fieldSpellings = [] {
  std::array<FieldSpellings, Keys.size()> spellings{};
  for (std::size_t i = 0; i < Keys.size(); ++i) spellings[i] = Keys[i].aliases;
  return spellings;
}();

template <typename Operation>
inline constexpr auto sameWords = [] {
  std::array<SameWords, Operation::statusWords.size()> words{};
  for (std::size_t i = 0; i < words.size(); ++i) words[i] = Operation::statusWords[i].words;
  return words;
}();

template <typename Operation>
inline constexpr CallbackWords callbackWords = [] {
  CallbackWords words{Operation::kind, fieldSpellings<Operation::callbackKeys>, {}, sameWords<Operation>};
  if constexpr (requires { Operation::listKeys; }) words.listFields = fieldSpellings<Operation::listKeys>;
  return words;
}();

/// Adds the fields that `callback` decides, and says which item decided each, what its status means, and
/// which items decide nothing. `status` is that of the response that was read.
void explainFields(CallbackExplanation::Entry& entry, const CallbackWords& words, const URL& callback,
                   const std::optional<std::string>& status);

/// The text, or its beginning: a callback may hold anything of any length.
[[nodiscard]] std::string shortened(std::string_view text);
/// The same, in quotes with escapes.
[[nodiscard]] std::string shortenedLiteral(std::string_view text);
/// Adds a sentence, after a blank.
void appendSentence(std::string& sentences, std::string_view sentence);

}  // namespace tilvanego::detail
