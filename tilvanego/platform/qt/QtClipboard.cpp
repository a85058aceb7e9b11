#include <tilvanego/platform/qt/QtClipboard.h>

#include <QByteArray>
#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QMimeData>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <utility>
#include <variant>

#include <tilvanego/platform/HostCode.h>
#include <tilvanego/platform/qt/QtThread.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr std::array<std::string_view, 3> textTypes{"public.utf8-plain-text", "public.text",
                                                    "public.plain-text"};

// Null before and after the application's life: Qt would then make one that it can't use.
QClipboard* clipboard() {
  const bool exists = qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
  return exists ? QGuiApplication::clipboard() : nullptr;
}

// A program that answers nothing for so long, in milliseconds, is asked again only after as long a pause:
// who reads the text and then the items waits once. Qt gives up after five seconds.
constexpr qint64 silence = 2000;

// Asks the program that owns the clipboard twice at most: `hasText` asks it once for each type.
std::optional<std::string> textOf(const QMimeData& data) {
  const auto isText = [](const QString& format) { return format.startsWith("text/plain"); };
  if (!std::ranges::any_of(data.formats(), isText)) return std::nullopt;
  const QString shown = data.text();
  // Null: its owner gave none, though it named the type.
  if (shown.isNull()) return std::nullopt;
  const QByteArray text = shown.toUtf8();
  if (static_cast<std::size_t>(text.size()) > QtClipboard::longestText) return std::nullopt;
  return text.toStdString();
}

// The one text of the items, if a clipboard can keep them without a loss.
const std::string* onlyText(const std::vector<PasteboardItem>& items) {
  if (items.size() != 1) return nullptr;
  const std::string* only = nullptr;
  for (const auto& [type, value] : items.front()) {
    const std::string* const text = std::get_if<std::string>(&value);
    if (std::ranges::find(textTypes, type) == textTypes.end() || text == nullptr) return nullptr;
    if (only != nullptr && *only != *text) return nullptr;
    only = text;
  }
  return only;
}

// Null for a text that isn't UTF-8.
std::unique_ptr<QMimeData> secretData(const std::string& text) {
  const auto bytes = QByteArray::fromRawData(text.data(), static_cast<qsizetype>(text.size()));
  const QString shown = QString::fromUtf8(bytes);
  if (shown.toUtf8() != bytes) return nullptr;
  auto data = std::make_unique<QMimeData>();
  data->setText(shown);
  data->setData("x-kde-passwordManagerHint", "secret");
  return data;
}

}  // namespace

/// What this object wrote last, and whether another program was silent.
class QtClipboard::Written {
 public:
  explicit Written(const Clock& clock) : clock_(clock) {
    expiry_.setSingleShot(true);
    QObject::connect(&expiry_, &QTimer::timeout, [this] { waitForExpiry(); });
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &expiry_, [this] {
      if (options_.expirationDate) remove();
    });
  }
  Written(const Written&) = delete;
  Written& operator=(const Written&) = delete;
  ~Written() {
    if (options_.expirationDate) remove();
  }

  /// Returns false if the desktop didn't take it.
  bool write(QClipboard& clipboard, std::unique_ptr<QMimeData> data, const PasteboardOptions& options) {
    forget();
    data_ = data.get();
    clipboard.setMimeData(data.release());
    hasOwners_ = clipboard.ownsClipboard();
    if (!isThere()) return false;
    options_ = options;
    waitForExpiry();
    return true;
  }

  void forget() {
    expiry_.stop();
    data_ = nullptr;
    options_ = {};
  }

  [[nodiscard]] bool isExpired() const {
    return options_.expirationDate && isThere() && tilvanego::isExpired(options_, clock_.now());
  }

  /// The text on the clipboard; nothing if there is none, or its owner doesn't answer.
  std::optional<std::string> read(const QMimeData& data) {
    if (silent_.isValid() && !silent_.hasExpired(silence)) return std::nullopt;
    QElapsedTimer reading;
    reading.start();
    auto text = textOf(data);
    if (!text && reading.hasExpired(silence)) {
      silent_.start();
    } else {
      silent_.invalidate();
    }
    return text;
  }

 private:
  // The clipboard destroys the data when it holds something else. Qt's windowless platforms have no owners.
  [[nodiscard]] bool isThere() const {
    QClipboard* const holder = clipboard();
    return holder != nullptr && data_ != nullptr && holder->mimeData() == data_ &&
           (!hasOwners_ || holder->ownsClipboard());
  }

  void remove() {
    if (isThere()) clipboard()->clear();
    forget();
  }

  // Removes what has expired. The clock is the host's and may stand still: then this looks again later. If
  // it throws, the text is removed rather than kept for ever.
  void waitForExpiry() {
    if (!options_.expirationDate) return;
    double seconds = -1;
    support::runListener("Clock::now", [&] {
      seconds = options_.expirationDate->secondsSince1970() - clock_.now().secondsSince1970();
    });
    if (!(seconds >= 0)) return remove();
    // Not earlier than the millisecond after the date, and not later than Qt's timer can count.
    const auto wait = std::chrono::milliseconds(static_cast<std::int64_t>(std::min(seconds, 1e6) * 1000) + 1);
    expiry_.start(wait);
  }

  const Clock& clock_;
  QPointer<QMimeData> data_;
  PasteboardOptions options_;
  bool hasOwners_ = false;
  QTimer expiry_;
  /// Since the owner of the clipboard didn't answer.
  QElapsedTimer silent_;
};

QtClipboard::QtClipboard(std::shared_ptr<const Clock> clock) : clock_(std::move(clock)) {
  detail::requireQtMainThread("a QtClipboard");
  written_ = std::make_unique<Written>(*clock_);
}

QtClipboard::~QtClipboard() = default;

std::optional<std::string> QtClipboard::string() const {
  const QClipboard* const holder = clipboard();
  if (holder == nullptr || written_->isExpired()) return std::nullopt;
  const QMimeData* const data = holder->mimeData();
  return data == nullptr ? std::nullopt : written_->read(*data);
}

std::vector<PasteboardItem> QtClipboard::items() const {
  const auto text = string();
  if (!text) return {};
  PasteboardItem item;
  for (const std::string_view type : textTypes) item.emplace(type, *text);
  return {std::move(item)};
}

std::expected<void, std::string> QtClipboard::setItems(std::vector<PasteboardItem> items,
                                                       const PasteboardOptions& options) {
  QClipboard* const holder = clipboard();
  if (holder == nullptr) return std::unexpected("There is no QGuiApplication, and so no clipboard.");
  if (items.empty()) {
    written_->forget();
    holder->clear();
    const QMimeData* const left = holder->mimeData();
    if (left != nullptr && left->hasText()) return std::unexpected("The desktop didn't empty the clipboard.");
    return {};
  }
  const std::string* const text = onlyText(items);
  if (text == nullptr)
    return std::unexpected("The clipboard keeps one item with one text, and nothing else.");
  auto data = secretData(*text);
  if (data == nullptr) return std::unexpected("The clipboard keeps texts in UTF-8 only.");
  if (!written_->write(*holder, std::move(data), options)) {
    return std::unexpected(
        "The desktop didn't give this program the clipboard; on Wayland its window must have the focus.");
  }
  return {};
}

}  // namespace tilvanego
