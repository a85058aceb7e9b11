#include "HostScript.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONReader.h>
#include <tilvanego/json/JSONValue.h>
#include <tilvanego/platform/memory/ManualClock.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/DateFormats.h>

#include "EventWriter.h"
#include "FieldReader.h"
#include "HostSession.h"
#include "PasteboardText.h"
#include "PendingText.h"

namespace tilvanego::program {

template <>
struct FieldType<Date> {
  static std::string wanted() {
    return R"(a text with an ISO 8601 instant, such as "2024-03-05T10:20:30Z", or null)";
  }
  static std::optional<Date> read(const JSONValue& value) {
    const std::string* text = value.stringValue();
    return text ? readInternetDate(*text) : std::nullopt;
  }
  static Date blank() { return {}; }
};

/// One kind of operation, or all: `true`.
struct KindOrAll {
  std::optional<OperationKind> kind;
};

template <>
struct FieldType<KindOrAll> {
  static std::string wanted() { return FieldType<OperationKind>::wanted(); }
  static std::optional<KindOrAll> read(const JSONValue& value) {
    if (value.boolValue() == true) return KindOrAll{};
    const auto kind = FieldType<OperationKind>::read(value);
    return kind ? std::optional(KindOrAll{kind}) : std::nullopt;
  }
  static KindOrAll blank() { return {}; }
};

namespace {

HostAction readStart(FieldReader& line) { return kindOf(line.get<OperationKind>("start")).readStart(line); }

HostAction readCallback(FieldReader& line) {
  return [url = line.get<URL>("callback")](HostSession& session) {
    const bool handled = session.sdk().handleCallback(url);
    session.events().write(JSONObject().add("handled", handled));
  };
}

HostAction readExplain(FieldReader& line) {
  return [url = line.get<URL>("explain")](HostSession& session) {
    const CallbackExplanation explanation = session.sdk().explainCallback(url);
    JSONList entries;
    for (const auto& entry : explanation.entries) {
      entries.add(JSONObject()
                      .add("operation", entry.operation)
                      .add("pending", entry.pending)
                      .add("matches", entry.matches)
                      .add("reason", entry.reason));
    }
    session.events().write(JSONObject().add("explain", entries.finish()).add("advice", explanation.advice));
  };
}

HostAction readOpened(FieldReader& line) {
  return [opened = line.get<bool>("opened")](HostSession& session) { session.reportOldestOpen(opened); };
}

HostAction readCancel(FieldReader& line) {
  return [kind = line.get<OperationKind>("cancel")](HostSession& session) {
    kindOf(kind).cancel(session.sdk());
  };
}

HostAction readPending(FieldReader& line) {
  const auto asked = line.get<KindOrAll>("pending");
  if (!asked.kind) return writePending;
  return [kind = *asked.kind](HostSession& session) {
    session.events().write(
        JSONObject().add("pending", kind).add("inProgress", kindOf(kind).isInProgress(session.sdk())));
  };
}

HostAction readInterrupted(FieldReader& line) {
  if (!line.get<bool>("interrupted")) line.refuse(R"("interrupted" must be true.)");
  return writeInterrupted;
}

HostAction readResume(FieldReader& line) {
  return [kind = line.get<OperationKind>("resume")](HostSession& session) {
    const bool found = kindOf(kind).resume(session);
    session.events().write(JSONObject().add("resumed", kind).add("found", found));
  };
}

HostAction readForget(FieldReader& line) {
  return [kind = line.get<OperationKind>("forget")](HostSession& session) {
    const bool found = kindOf(kind).forgetInterrupted(session.sdk());
    session.events().write(JSONObject().add("forgotten", kind).add("found", found));
  };
}

HostAction readIsCallback(FieldReader& line) {
  const auto kind = line.get<OperationKind>("isCallback");
  return [kind, url = line.get<URL>("url")](HostSession& session) {
    session.events().write(
        JSONObject().add("isCallback", kind).add("matches", kindOf(kind).isCallback(session.sdk(), url)));
  };
}

HostAction readResult(FieldReader& line) {
  const auto kind = line.get<OperationKind>("result");
  return [kind, url = line.get<URL>("url")](HostSession& session) {
    session.events().write(
        JSONObject().add("result", kind).addOrNull("value", kindOf(kind).result(session.sdk(), url)));
  };
}

HostAction readParse(FieldReader& line) {
  const auto kind = line.get<OperationKind>("parse");
  return [kind, url = line.get<URL>("url"),
          requestId = line.get<std::optional<std::string>>("expectedRequestId"),
          callbackURL = line.get<std::optional<URL>>("expectedCallbackURL")](HostSession& session) {
    session.events().write(
        JSONObject().add("parse", kind).addOrNull("value", kindOf(kind).parse(url, requestId, callbackURL)));
  };
}

HostAction readSetPasteboard(FieldReader& line) {
  return [items = line.get<std::vector<PasteboardItem>>("setPasteboard"),
          string = line.get<std::optional<std::string>>("string")](HostSession& session) {
    session.placeOnPasteboard(items, string);
  };
}

HostAction readGetPasteboard(FieldReader& line) {
  if (!line.get<bool>("getPasteboard")) line.refuse(R"("getPasteboard" must be true.)");
  return [](HostSession& session) { session.events().write(pasteboardObject(session.pasteboardContents())); };
}

HostAction readNow(FieldReader& line) {
  return [instant = line.get<std::optional<Date>>("now")](HostSession& session) {
    if (instant) {
      session.clock().stopAt(*instant);
    } else {
      session.clock().followSystem();
    }
  };
}

struct Command {
  std::string_view name;
  HostAction (*read)(FieldReader& line);
  /// Null is a value of this command, not an absent field.
  bool takesNull = false;
};

constexpr std::array commands{
    Command{"start", readStart},
    Command{"sendRequest", readSendRequestAction},
    Command{"callback", readCallback},
    Command{"explain", readExplain},
    Command{"opened", readOpened},
    Command{"cancel", readCancel},
    Command{"pending", readPending},
    Command{"interrupted", readInterrupted},
    Command{"resume", readResume},
    Command{"forget", readForget},
    Command{"isCallback", readIsCallback},
    Command{"result", readResult},
    Command{"parse", readParse},
    Command{"setPasteboard", readSetPasteboard},
    Command{"getPasteboard", readGetPasteboard},
    Command{"now", readNow, true},
};

std::string commandNames() {
  std::vector<std::string_view> names;
  names.reserve(commands.size());
  for (const Command& one : commands) names.push_back(one.name);
  return listed(names, "or");
}

/// Returns the command of a line. Fails if the line has none, or more than one.
std::expected<const Command*, std::string> findCommand(const JSONValue::Dictionary& line) {
  const Command* found = nullptr;
  for (const Command& one : commands) {
    const auto entry = line.find(one.name);
    if (entry == line.end() || (entry->second.isNull() && !one.takesNull)) continue;
    if (found != nullptr) {
      return std::unexpected("More than one command in a line: " + quotation(found->name) + " and " +
                             quotation(one.name) + "; give each a line of its own.");
    }
    found = &one;
  }
  if (found == nullptr)
    return std::unexpected("No known command in the line; it must have " + commandNames() + ".");
  return found;
}

/// Returns a name that occurs twice in one object, at any depth. The text must be JSON.
std::optional<std::string> repeatedName(json::Reader& reader) {
  JSONKind kind{};
  if (!reader.peek(kind)) return std::nullopt;
  if (kind == JSONKind::object && reader.beginObject()) {
    std::set<std::string, std::less<>> names;
    for (std::string_view name; reader.nextKey(name) == json::Reader::Next::item;) {
      if (!names.emplace(name).second) return std::string(name);
      if (auto repeated = repeatedName(reader)) return repeated;
    }
  } else if (kind == JSONKind::array && reader.beginArray()) {
    while (reader.nextElement() == json::Reader::Next::item) {
      if (auto repeated = repeatedName(reader)) return repeated;
    }
  } else {
    static_cast<void>(reader.skip());
  }
  return std::nullopt;
}

}  // namespace

std::expected<HostAction, std::string> readScriptLine(std::string_view line) {
  const auto value = json::decode<JSONValue>(line);
  if (!value) return std::unexpected("The line isn't a JSON object: " + value.error().description() + ".");
  const JSONValue::Dictionary* fields = value->dictionaryValue();
  if (fields == nullptr)
    return std::unexpected(R"(The line must be a JSON object, such as {"pending": "payment"}.)");
  json::Reader again(line);
  if (const auto name = repeatedName(again)) {
    return std::unexpected(quotation(*name) + " is given twice in one object; give it once.");
  }

  const auto command = findCommand(*fields);
  if (!command) return std::unexpected(command.error());
  FieldReader reader(*fields);
  HostAction action = (*command)->read(reader);
  if (auto fault = reader.finish()) return std::unexpected(*std::move(fault));
  return action;
}

}  // namespace tilvanego::program
