#pragma once

#include <cstddef>
#include <deque>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/platform/Application.h>
#include <tilvanego/platform/Timer.h>
#include <tilvanego/sandbox/Rehearsal.h>
#include <tilvanego/sandbox/Response.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::terminal {

/// A link that a host opened, and what became of it.
struct Request {
  URL link;
  /// Nothing for a link that can't be read.
  std::optional<sandbox::LaunchLink> asked;
  /// Nothing while a person has to decide.
  std::optional<sandbox::Outcome> outcome = std::nullopt;
  /// The answer as it goes to the host; nothing if there is none, or not yet.
  std::optional<URL> callback = std::nullopt;
  /// The number of the script's line that decided.
  std::optional<std::size_t> line = std::nullopt;
  /// What went wrong, as a sentence; empty: nothing.
  std::string fault = {};

  [[nodiscard]] bool waits() const { return asked && !outcome; }
};

/// The payment application without its window: it reads links, lets a script or a person decide, and opens
/// the callback URLs. Used on the main thread only.
class Terminal {
 public:
  /// The oldest request beyond these is forgotten.
  static constexpr std::size_t mostRequests = 500;

  /// `application` opens the callback URLs, `timer` calls back on the main thread; both must live longer than
  /// this object, and so must what `ports` name. `changed` is called after each change.
  Terminal(Application& application, Timer& timer, const sandbox::HandoffPorts& ports,
           std::function<void()> changed);
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal();

  /// A link that a host opened. A line of the script that fits it decides; else it waits for `decide`.
  void receive(const URL& link);

  /// Answers a request that waits. If it can't be answered so, its fault says why, and it still waits.
  void decide(std::size_t request, sandbox::Outcome outcome);

  /// Later requests are decided by the script; nothing: by a person.
  void setScript(std::optional<sandbox::RehearsalScript> script);
  [[nodiscard]] bool hasScript() const { return rehearsal_.has_value(); }
  /// What the script still expects, and which requests it had no line for: sentences.
  [[nodiscard]] std::vector<std::string> scriptNotes() const;

  /// From the oldest to the newest.
  [[nodiscard]] const std::deque<Request>& requests() const { return requests_; }
  /// How many older ones are forgotten.
  [[nodiscard]] std::size_t forgotten() const { return forgotten_; }

 private:
  struct Life;

  void answer(Request& request, const sandbox::Decision& decision, const sandbox::RehearsalLine* line);
  void deliver(Request& request, const URL& callback, const sandbox::RehearsalLine* line);
  void open(const URL& callback);

  Application& application_;
  Timer& timer_;
  sandbox::HandoffPorts ports_;
  std::function<void()> changed_;
  std::deque<Request> requests_;
  std::size_t forgotten_ = 0;
  std::optional<sandbox::Rehearsal> rehearsal_;
  /// Callbacks that come after the next request.
  std::vector<URL> late_;
  /// Blocks that come later hold weak pointers to it.
  std::shared_ptr<Life> life_;
};

}  // namespace tilvanego::terminal
