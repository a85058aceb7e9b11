#include <tilvanego/platform/qt/QtClipboard.h>

#include <QByteArray>
#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr const char* secretHint = "x-kde-passwordManagerHint";

QClipboard& clipboard() { return *QGuiApplication::clipboard(); }

std::string toUTF8(const QString& text) { return text.toStdString(); }

}  // namespace

/// What this object wrote last.
struct QtClipboard::Written {
  /// The clipboard owns it, and destroys it when it holds something else.
  QPointer<QMimeData> data;
  PasteboardOptions options;
  QTimer expiry;

  [[nodiscard]] bool isThere() const {
    return data != nullptr && clipboard().ownsClipboard() && clipboard().mimeData() == data;
  }
};

QtClipboard::QtClipboard(std::shared_ptr<const Clock> clock)
    : clock_(std::move(clock)), written_(std::make_unique<Written>()) {
  written_->expiry.setSingleShot(true);
  QObject::connect(&written_->expiry, &QTimer::timeout, [written = written_.get()] {
    if (written->isThere()) clipboard().clear();
  });
}

QtClipboard::~QtClipboard() = default;

std::optional<std::string> QtClipboard::string() const {
  if (written_->isThere() && isExpired(written_->options, clock_->now())) return std::nullopt;
  const QMimeData* const data = clipboard().mimeData();
  if (data == nullptr || !data->hasText()) return std::nullopt;
  return toUTF8(data->text());
}

std::vector<PasteboardItem> QtClipboard::items() const {
  const auto text = string();
  if (!text) return {};
  return {{{"public.plain-text", *text}, {"public.text", *text}, {"public.utf8-plain-text", *text}}};
}

std::expected<void, std::string> QtClipboard::setItems(std::vector<PasteboardItem> items,
                                                       const PasteboardOptions& options) {
  written_->expiry.stop();
  if (items.empty()) {
    clipboard().clear();
    return {};
  }
  const auto text = pasteboardString(items);
  if (!text) return std::unexpected("The clipboard keeps texts only.");
  const QString shown = QString::fromUtf8(text->data(), static_cast<qsizetype>(text->size()));
  if (toUTF8(shown) != *text) return std::unexpected("The clipboard keeps texts in UTF-8 only.");
  auto data = std::make_unique<QMimeData>();
  data->setText(shown);
  data->setData(secretHint, "secret");
  written_->data = data.get();
  written_->options = options;
  clipboard().setMimeData(data.release());
  if (!written_->isThere()) {
    return std::unexpected(
        "The desktop didn't give this program the clipboard; on Wayland its window must have the focus.");
  }
  if (options.expirationDate) {
    const double seconds = options.expirationDate->secondsSince1970() - clock_->now().secondsSince1970();
    // A timer counts at most 24 days.
    const double longest = 2'000'000;
    written_->expiry.start(
        std::chrono::milliseconds(static_cast<std::int64_t>(std::clamp(seconds, 0.0, longest) * 1000) + 1));
  }
  return {};
}

}  // namespace tilvanego
