#include "Terminal.h"

#include <chrono>
#include <utility>

namespace tilvanego::terminal {

using sandbox::Decision;
using sandbox::Delivery;
using sandbox::LaunchLink;
using sandbox::Outcome;
using sandbox::RehearsalLine;

struct Terminal::Life {
  Terminal* terminal;
};

namespace {

std::string sentence(const sandbox::SandboxError& error) {
  std::string text = error.message + ".";
  if (text.front() >= 'a' && text.front() <= 'z') text.front() = static_cast<char>(text.front() - 'a' + 'A');
  return text;
}

}  // namespace

Terminal::Terminal(Application& application, Timer& timer, const sandbox::HandoffPorts& ports,
                   std::function<void()> changed)
    : application_(application),
      timer_(timer),
      ports_(ports),
      changed_(std::move(changed)),
      life_(std::make_shared<Life>(this)) {}

Terminal::~Terminal() = default;

void Terminal::receive(const URL& link) {
  auto asked = LaunchLink::read(link, ports_);
  if (requests_.size() == mostRequests) {
    requests_.pop_front();
    ++forgotten_;
  }
  Request& request = requests_.emplace_back(link, std::nullopt);
  // A late callback comes after this request, whatever becomes of it.
  const auto late = std::exchange(late_, {});
  if (!asked) {
    request.fault = sentence(asked.error());
    if (rehearsal_) rehearsal_->noteUnreadable(asked.error());
  } else {
    request.asked = *std::move(asked);
    const RehearsalLine* const line = rehearsal_ ? rehearsal_->next(*request.asked) : nullptr;
    if (line != nullptr) {
      Decision decision{.outcome = line->outcome.value_or(usualOutcome(*request.asked))};
      line->applyTo(decision, request.asked->operation());
      answer(request, decision, line);
    }
  }
  for (const URL& callback : late) open(callback);
  changed_();
}

void Terminal::decide(std::size_t request, Outcome outcome) {
  if (request >= requests_.size() || !requests_[request].waits()) return;
  answer(requests_[request], {.outcome = outcome}, nullptr);
  changed_();
}

void Terminal::answer(Request& request, const Decision& decision, const RehearsalLine* line) {
  const auto callback = respond(*request.asked, decision, ports_);
  if (!callback) {
    request.fault = sentence(callback.error());
    if (line != nullptr) rehearsal_->noteUnanswered(callback.error());
    return;
  }
  request.fault.clear();
  request.outcome = decision.outcome;
  if (line != nullptr) request.line = line->number;
  if (*callback) deliver(request, **callback, line);
}

void Terminal::deliver(Request& request, const URL& callback, const RehearsalLine* line) {
  const Delivery delivery = line != nullptr ? line->delivery.value_or(Delivery::once) : Delivery::once;
  const URL arriving = sandbox::delivered(callback, *request.asked, delivery);
  request.callback = arriving;
  if (delivery == Delivery::never) return;
  const auto delay = std::chrono::duration<double>(line != nullptr ? line->delay.value_or(0) : 0);
  for (int left = delivery == Delivery::twice ? 2 : 1; left > 0; --left) {
    if (delivery == Delivery::late) {
      late_.push_back(arriving);
    } else if (delay.count() > 0) {
      timer_.after(std::chrono::ceil<std::chrono::milliseconds>(delay),
                   [weak = std::weak_ptr(life_), arriving] {
                     if (const auto life = weak.lock()) life->terminal->open(arriving);
                   });
    } else {
      open(arriving);
    }
  }
}

void Terminal::open(const URL& callback) {
  application_.openURL(callback, [weak = std::weak_ptr(life_), callback](bool opened) {
    const auto life = weak.lock();
    if (opened || life == nullptr) return;
    for (Request& request : life->terminal->requests_) {
      if (request.callback != callback) continue;
      request.fault = "The answer was not opened: does a program handle " +
                      std::string(callback.scheme().value_or("")) + ":?";
    }
    life->terminal->changed_();
  });
}

void Terminal::setScript(std::optional<sandbox::RehearsalScript> script) {
  rehearsal_.reset();
  late_.clear();
  if (script) rehearsal_.emplace(*std::move(script));
  changed_();
}

std::vector<std::string> Terminal::scriptNotes() const {
  if (!rehearsal_) return {};
  auto notes = rehearsal_->unmatchedRequests();
  for (auto& line : rehearsal_->unusedLines()) notes.push_back(std::move(line));
  return notes;
}

}  // namespace tilvanego::terminal
