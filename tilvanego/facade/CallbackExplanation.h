#pragma once

#include <optional>
#include <string>
#include <vector>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/json/CodingKeys.h>
#include <tilvanego/values/RawText.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Where the result of a callback is: in its query, compressed in its query, or on the pasteboard.
enum class CallbackTransport { urlScheme, gzip, pasteboard };

template <>
inline constexpr bool json::namesAreTexts<CallbackTransport> = true;

/// Why a callback URL ends a pending operation, or why it ends none: what `TilvaneGo::explainCallback`
/// returns. For people: the words of `reason` and `advice` may change in any version.
///
/// No text here shows the value of an item that `isSecretName` names. Long texts are cut.
struct CallbackExplanation {
  /// A field of the response, and the query item that decided it.
  struct Field {
    /// As the response calls it, such as "transactionId".
    std::string name;
    /// The name of the item as the callback spells it, such as "txn_id".
    std::string key;
    /// The decoded value, or "<redacted>" for a secret; nothing if the item has none.
    std::optional<std::string> value;
  };

  /// What the callback is for one kind of operation.
  struct Entry {
    OperationKind operation{};
    bool pending = false;
    /// Whether it is the callback of the pending operation, or of an interrupted one that waits for one:
    /// scheme, host and path are those of its request. A pending one that was resumed with its callback waits
    /// for none.
    bool matches = false;
    /// Whether `handleCallback` would end the pending operation with it now.
    bool ends = false;
    CallbackTransport transport = CallbackTransport::urlScheme;
    /// The name of the result's case, such as "success", as if an operation of this kind were pending with
    /// this URL. Empty if it is pending with another one, or if only the pending payment could read it.
    std::string result;
    /// The name of the error of a failure, such as "requestIdMismatch"; else empty.
    std::string error;
    /// The status word that was understood, such as "approved"; empty if there is none.
    std::string statusWord;
    /// The fields that the callback decides, in the order of its items.
    std::vector<Field> fields;
    /// Sentences that say all of the above.
    std::string reason;
  };

  /// One entry for each kind, in the order in which `handleCallback` offers a callback to them.
  std::vector<Entry> entries;
  /// One sentence: which operation ends and how, or what to mend first.
  std::string advice;
};

}  // namespace tilvanego
