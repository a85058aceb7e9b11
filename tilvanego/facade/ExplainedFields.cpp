#include <tilvanego/facade/ExplainedFields.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include <tilvanego/frame/SecretNames.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/DebugLiteral.h>
#include <tilvanego/values/Text.h>

namespace tilvanego::detail {
namespace {

using Entry = CallbackExplanation::Entry;
using Field = CallbackExplanation::Field;

void list(std::string& texts, std::string_view text) { texts.append(texts.empty() ? "" : ", ").append(text); }

/// Lists all texts but the empty ones, which fill an array.
template <typename Texts>
void listAll(std::string& texts, const Texts& more) {
  for (const std::string_view text : more) {
    if (!text.empty()) list(texts, text);
  }
}

/// The name of a response's field by its first spelling: "transactionId" for "transaction_id".
std::string fieldName(std::string_view spelling) {
  std::string name;
  for (std::size_t i = 0; i < spelling.size(); ++i) {
    name += spelling[i] == '_' && i + 1 < spelling.size() ? asciiUppercased(spelling[++i]) : spelling[i];
  }
  return name;
}

/// The items of a callback, sorted by whether they decide a field.
class Items {
 public:
  explicit Items(const URL& callback) : callback_(callback) {}

  /// By the rules of `storeDecidingItems`.
  void addFields(std::span<const FieldSpellings> fields, std::vector<Field>& found) {
    std::vector<bool> isDecided(fields.size());
    for (const RawQueryItem& item : callback_.rawQueryItems()) {
      const std::string name = caseFolded(item.decodedName());
      const auto field = std::ranges::find_if(fields, [&](const FieldSpellings& spellings) {
        return std::ranges::any_of(
            spellings, [&](std::string_view one) { return !one.empty() && caseFolded(one) == name; });
      });
      if (field == fields.end()) continue;
      const auto index = static_cast<std::size_t>(field - fields.begin());
      if (isDecided[index]) continue;
      isDecided[index] = true;
      add(fieldName(field->front()), item, found);
    }
  }

  /// The fields whose value isn't UTF-8 when it is percent-decoded.
  [[nodiscard]] const std::vector<std::string>& notUTF8() const { return notUTF8_; }

  /// The names of the items that decide nothing: unknown ones, and all but the first of a field's.
  [[nodiscard]] std::string unused() const {
    constexpr std::size_t most = 8;
    std::string names;
    std::size_t count = 0;
    for (const RawQueryItem& item : callback_.rawQueryItems()) {
      if (std::ranges::find(used_, item.name.data()) != used_.end()) continue;
      list(names, count < most ? shortenedLiteral(item.decodedName()) : "…");
      if (count++ == most) break;
    }
    return names;
  }

 private:
  void add(std::string name, const RawQueryItem& item, std::vector<Field>& found) {
    used_.push_back(item.name.data());
    auto value = item.value.decoded();
    if (item.value && !value) notUTF8_.push_back(name);
    if (value) value = isSecretName(name) ? "<redacted>" : shortened(*value);
    found.push_back({std::move(name), shortened(item.decodedName()), std::move(value)});
  }

  const URL& callback_;
  std::vector<const char*> used_;
  std::vector<std::string> notUTF8_;
};

std::string spellingsOfStatus(std::span<const FieldSpellings> fields) {
  std::string spellings;
  for (const FieldSpellings& one : fields) {
    if (fieldName(one.front()) == "status") listAll(spellings, one);
  }
  return spellings;
}

std::string allWords(const CallbackWords& kind) {
  std::string words;
  for (const SameWords& same : kind.words) listAll(words, same);
  return words;
}

bool isUnderstood(const CallbackWords& kind, std::string_view word) {
  return std::ranges::any_of(
      kind.words, [&](const SameWords& same) { return std::ranges::find(same, word) != same.end(); });
}

void explainStatus(Entry& entry, const CallbackWords& kind, const std::optional<std::string>& status,
                   bool isUTF8) {
  const auto decided = std::ranges::find(entry.fields, "status", &Field::name);
  std::string storage;
  const std::string_view word = normalStatus(status, storage);
  if (word.empty()) {
    appendSentence(entry.reason,
                   decided == entry.fields.end()
                       ? "It has no status: none of the keys " + spellingsOfStatus(kind.fields) + "."
                       : "Its status, by the key " + shortenedLiteral(decided->key) +
                             (isUTF8 ? ", is blank." : ", isn't UTF-8."));
    return;
  }
  const std::string shown =
      "The status " + shortenedLiteral(*status) + ", by the key " + shortenedLiteral(decided->key) + ", is ";
  if (isUnderstood(kind, word)) {
    entry.statusWord = word;
    appendSentence(entry.reason, shown + "understood as the word " + std::string(word) + ".");
  } else {
    appendSentence(entry.reason, shown + "no word of " + operationWords(kind.kind) +
                                     " and counts as a failure; the words are " + allWords(kind) + ".");
  }
}

}  // namespace

std::string shortened(std::string_view text) {
  constexpr std::size_t longest = 120;
  if (text.size() <= longest) return std::string(text);
  std::size_t end = longest;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return std::string(text.substr(0, end)) + "…";
}

std::string shortenedLiteral(std::string_view text) { return debugLiteral(shortened(text)); }

void appendSentence(std::string& sentences, std::string_view sentence) {
  if (!sentences.empty() && !sentence.empty()) sentences += ' ';
  sentences += sentence;
}

void explainFields(Entry& entry, const CallbackWords& kind, const URL& callback,
                   const std::optional<std::string>& status) {
  Items items(callback);
  items.addFields(kind.fields, entry.fields);
  items.addFields(kind.listFields, entry.fields);
  const std::vector<std::string>& notUTF8 = items.notUTF8();
  explainStatus(entry, kind, status, std::ranges::find(notUTF8, "status") == notUTF8.end());
  std::string keys;
  for (const Field& field : entry.fields) list(keys, field.name + " by " + shortenedLiteral(field.key));
  if (!keys.empty()) appendSentence(entry.reason, "Fields and their keys: " + keys + ".");
  if (!notUTF8.empty()) {
    std::string names;
    listAll(names, notUTF8);
    appendSentence(entry.reason, "Not UTF-8, and so without a value: " + names +
                                     "; the payment application must percent-encode texts as UTF-8.");
  }
  if (const auto unused = items.unused(); !unused.empty()) {
    appendSentence(entry.reason, "Items that decide nothing: " + unused + ".");
  }
}

}  // namespace tilvanego::detail
