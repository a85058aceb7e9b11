#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTest>
#include <fstream>

#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/memory/ManualTimer.h>
#include <tilvanego/platform/memory/MemoryApplication.h>

#include "apps/terminal/TerminalWindow.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Test.h"

using namespace tilvanego;
using sandbox::Outcome;
using terminal::Terminal;
using terminal::TerminalWindow;

namespace {

URL payment(const std::string& id, const std::string& amount) {
  return URL::parse("tilvanego://payment/v1/start?request_id=" + id + "&amount=" + amount +
                    "&type=sale&currency=EUR&return_url=till://done&require_reader_ready=true")
      .value();
}

class TerminalWindowTest : public testing::Test {
 protected:
  TerminalWindowTest() {
    window.show();
    window.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
  }

  template <typename Widget>
  Widget& named(const QString& name) {
    for (Widget* const widget : window.findChildren<Widget*>()) {
      if (widget->accessibleName() == name) return *widget;
    }
    throw std::runtime_error("no widget has the name " + name.toStdString());
  }

  // A button that is pressed by its key shows that for a moment.
  void press(Qt::Key key, std::size_t request) {
    QTest::keyClick(&window, key);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !terminal.requests()[request].waits(); }));
  }

  RunLoop loop;
  MemoryApplication application{loop};
  ManualTimer timer;
  TerminalWindow* refreshed = nullptr;
  Terminal terminal{application, timer, {}, [this] { refreshed->refresh(); }};
  TerminalWindow window{terminal};
  const bool connected = (refreshed = &window) != nullptr;
};

}  // namespace

TEST_F(TerminalWindowTest, AKeyDecidesTheChosenRequestAndANewOneDoesNotTakeItsPlace) {
  EXPECT_FALSE(named<QAbstractButton>("Approve").isEnabled());
  terminal.receive(payment("A-1", "12.5"));
  EXPECT_EQ(named<QLabel>("Amount").text(), "12.50 EUR");
  terminal.receive(payment("A-2", "7"));
  EXPECT_EQ(named<QLabel>("Amount").text(), "12.50 EUR") << "the person is about to press a key";
  press(Qt::Key_D, 0);
  EXPECT_EQ(terminal.requests()[0].outcome, Outcome::decline);
  EXPECT_TRUE(terminal.requests()[1].waits());
  EXPECT_FALSE(named<QAbstractButton>("Approve").isEnabled());
  named<QListWidget>("Requests").setCurrentRow(1);
  EXPECT_EQ(named<QLabel>("Amount").text(), "7.00 EUR");
  EXPECT_TRUE(named<QPlainTextEdit>("What is asked").toPlainText().contains("return_url: till://done\n"));
  press(Qt::Key_A, 1);
  EXPECT_EQ(terminal.requests()[1].outcome, Outcome::approve);
}

TEST_F(TerminalWindowTest, EachPartHasANameAndIsReachedByTab) {
  terminal.receive(payment("A-1", "12.5"));
  std::set<QWidget*> reached;
  for (int tabs = 0; tabs < 60; ++tabs) {
    QTest::keyClick(window.focusWidget() != nullptr ? window.focusWidget() : &window, Qt::Key_Tab);
    if (window.focusWidget() != nullptr) reached.insert(window.focusWidget());
  }
  for (QAbstractButton* const button : window.findChildren<QAbstractButton*>()) {
    if (!button->isVisible() || !button->isEnabled() || button->focusPolicy() == Qt::NoFocus) continue;
    EXPECT_TRUE(reached.contains(button)) << button->text().toStdString();
    EXPECT_FALSE(button->text().isEmpty() && button->accessibleName().isEmpty());
  }
  for (QPlainTextEdit* const text : window.findChildren<QPlainTextEdit*>()) {
    EXPECT_TRUE(reached.contains(text)) << text->accessibleName().toStdString();
    EXPECT_FALSE(text->accessibleName().isEmpty());
  }
}

TEST_F(TerminalWindowTest, SaysInTheWindowWhatWentWrongAndShowsSecretsOnlyOnDemand) {
  window.loadScript("/no/such/file");
  EXPECT_TRUE(named<QLabel>("Script").text().startsWith("The script was not loaded: /no/such/file"));
  terminal.receive(payment("A-1", "12.5"));
  QTest::mouseClick(&named<QAbstractButton>("Tampered"), Qt::LeftButton);
  EXPECT_TRUE(named<QLabel>("What went wrong").isVisible());
  auto& traffic = named<QPlainTextEdit>("Link and answer");
  EXPECT_FALSE(traffic.toPlainText().contains("amount=12.5"));
  QTest::keyClick(window.findChild<QCheckBox*>(), Qt::Key_Space);
  EXPECT_TRUE(traffic.toPlainText().contains("amount=12.5"));

  const TemporaryDirectory directory;
  const auto script = directory.path() / "script.jsonl";
  std::ofstream(script) << R"({"amount": "1", "outcome": "cancel"})" << '\n';
  window.loadScript(QString::fromStdString(script));
  terminal.receive(payment("A-2", "1"));
  EXPECT_EQ(terminal.requests()[1].outcome, Outcome::cancel);
}

int main(int count, char** words) {
  testing::InitGoogleTest(&count, words);
  // Without a desktop, also where the tests are only listed.
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(count, words);
  return RUN_ALL_TESTS();
}
