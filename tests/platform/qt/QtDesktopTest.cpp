#include <QClipboard>
#include <QCoreApplication>

#include <sys/stat.h>

#include <tilvanego/platform/qt/QtClipboard.h>
#include <tilvanego/platform/qt/QtLinkOpener.h>
#include <tilvanego/platform/qt/QtMainQueue.h>
#include <tilvanego/values/URL.h>

#include "tests/platform/qt/Desktop.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

using namespace tilvanego;
using test::Desktop;
using test::OtherOwner;

namespace {

// The host's clock, which says when it is read.
class WatchedClock final : public Clock {
 public:
  [[nodiscard]] Date now() const override {
    if (onRead) onRead();
    return Date::fromSecondsSince1970(seconds);
  }

  double seconds = 1000;
  std::function<void()> onRead;
};

class QtClipboardTest : public testing::Test {
 protected:
  static std::vector<PasteboardItem> item(const std::string& text) {
    return {{{"public.utf8-plain-text", text}, {"public.plain-text", text}, {"public.text", text}}};
  }

  void writeUntil(double expiration, const std::string& text) {
    EXPECT_TRUE(clipboard.setItems(
        item(text), {.localOnly = true, .expirationDate = Date::fromSecondsSince1970(expiration)}));
  }

  // Runs the loop until the clipboard has looked at the clock once more, and has acted on it.
  void runUntilClockIsRead() const {
    QEventLoop loop;
    clock->onRead = [&] { QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection); };
    loop.exec();
    clock->onRead = nullptr;
  }

  const Desktop desktop;
  const std::shared_ptr<WatchedClock> clock = std::make_shared<WatchedClock>();
  QtClipboard clipboard{clock};
};

}  // namespace

TEST_F(QtClipboardTest, AnotherProgramReadsTheTextWithTheMarkOfASecret) {
  const std::string text = "{\"a\":\"\u00fc \U0001F4B6\"}\n";
  EXPECT_TRUE(clipboard.setItems(item(text)));
  EXPECT_EQ(clipboard.items(), item(text));
  EXPECT_EQ(Desktop::readByAnother(), "secret|" + text);
  EXPECT_TRUE(clipboard.setItems({}));
  EXPECT_EQ(Desktop::readByAnother(), "|");
}

TEST_F(QtClipboardTest, ReadsAndReplacesWhatAnotherProgramHasWritten) {
  EXPECT_EQ(clipboard.items(), std::vector<PasteboardItem>{});
  const OtherOwner other("from another \u00fc");
  EXPECT_EQ(clipboard.string(), "from another \u00fc");
  EXPECT_EQ(clipboard.items(), item("from another \u00fc"));
  EXPECT_TRUE(clipboard.setItems({}));
  EXPECT_EQ(Desktop::readByAnother(), "|");
}

TEST_F(QtClipboardTest, RefusesWhatAClipboardWouldLoseAndKeepsTheFormerText) {
  EXPECT_TRUE(clipboard.setItems(item("former")));
  const std::vector<std::vector<PasteboardItem>> refused = {
      {{{"public.text", "a"}}, {{"public.text", "b"}}},
      {{}},
      {{{"public.text", Bytes{1}}}},
      {{{"public.png", "a"}}},
      {{{"public.text", "a"}, {"public.plain-text", "b"}}},
      {{{"public.text", "\xff"}}},
      {{{"public.text", "\xed\xa0\x80"}}},
  };
  for (const auto& items : refused) EXPECT_FALSE(clipboard.setItems(items));
  EXPECT_EQ(clipboard.string(), "former");
}

TEST_F(QtClipboardTest, AtItsExpiryATextIsGoneForAllAlsoIfTheHostsClockStoodStill) {
  writeUntil(1000, "sealed");
  runUntilClockIsRead();
  EXPECT_EQ(Desktop::readByAnother(), "secret|sealed") << "its time isn't over by the host's clock";
  clock->seconds = 1000.001;
  EXPECT_EQ(clipboard.string(), std::nullopt);
  runUntilClockIsRead();
  EXPECT_EQ(Desktop::readByAnother(), "|");
}

TEST_F(QtClipboardTest, AtItsExpiryAnotherProgramsTextStaysAlsoTheSame) {
  writeUntil(1000, "sealed");
  const OtherOwner other("sealed");
  clock->seconds = 2000;
  runUntilClockIsRead();
  EXPECT_EQ(Desktop::readByAnother(), "|sealed");
  EXPECT_EQ(clipboard.string(), "sealed");
}

TEST_F(QtClipboardTest, WhatExpiresEndsWithTheApplicationsLoopAndWhatDoesNotStays) {
  for (const bool expires : {true, false}) {
    EXPECT_TRUE(clipboard.setItems(
        item("sealed"),
        {.expirationDate = expires ? std::optional(Date::fromSecondsSince1970(1e6)) : std::nullopt}));
    QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
    QCoreApplication::exec();
    EXPECT_EQ(clipboard.string().has_value(), !expires);
  }
}

TEST(QtLinkOpener, QtsWarningShowsNothingOfALinkThatIsNotOpened) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  int count = 1;
  std::array<char, 5> name{"test"};
  std::array<char*, 2> words{name.data(), nullptr};
  const QGuiApplication application(count, words.data());
  QtMainQueue queue;
  QtLinkOpener opener(queue);
  static QStringList messages;
  const QtMessageHandler before = qInstallMessageHandler(
      [](QtMsgType, const QMessageLogContext&, const QString& message) { messages.append(message); });
  opener.openURL(URL::parse("tilvanego://start?a=%7E%20%2F&basic_token=secret").value(),
                 [](bool opened) { EXPECT_FALSE(opened); });
  qWarning("the host's own");
  qInstallMessageHandler(before);
  ASSERT_EQ(messages.size(), 2) << messages.join('|').toStdString();
  EXPECT_TRUE(messages[0].contains("a link")) << messages[0].toStdString();
  EXPECT_FALSE(messages[0].contains("secret")) << messages[0].toStdString();
  EXPECT_EQ(messages[1], "the host's own");
}

TEST(QtLinkOpener, PassesTheLinkToTheDesktopUnchangedAndReportsOnce) {
  const TemporaryDirectory directory;
  const auto opened = directory.path() / "opened";
  ASSERT_EQ(mkfifo(opened.c_str(), 0600), 0);
  std::ofstream(directory.path() / "xdg-open")
      << "#!/bin/sh\nprintf %s \"$1\" >'" << opened.string() << "'\n";
  std::filesystem::permissions(directory.path() / "xdg-open", std::filesystem::perms::owner_all);
  qputenv("PATH", QByteArray(directory.path().c_str()) + ":" + qgetenv("PATH"));
  const Desktop desktop;
  QtMainQueue queue;
  QtLinkOpener opener(queue);

  const std::string link =
      "tilvanego://payment/v1/start?a=b%20c&d=%27%22%26&e=%2B%3D/?:@-._~!$'()*,;&f=%C3%BC&g=%0A&amount=1.50";
  int reports = 0;
  opener.openURL(URL::parse(link).value(), [&](bool done) {
    EXPECT_TRUE(done);
    ++reports;
    QCoreApplication::quit();
  });
  EXPECT_EQ(reports, 0) << "not inside the call";
  QCoreApplication::exec();
  EXPECT_EQ(reports, 1);
  EXPECT_EQ(contentOf(opened), link);
}
