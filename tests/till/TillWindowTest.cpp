#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

#include "apps/till/TillWindow.h"
#include "tests/support/Test.h"
#include "tests/support/TestHost.h"

using namespace tilvanego;
using till::Till;
using till::TillWindow;

namespace {

class TillWindowTest : public testing::Test {
 protected:
  TillWindowTest() {
    refreshed = &window;
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

  test::TestHost host;
  TillWindow* refreshed = nullptr;
  Till till{*host.sdk, "till", [] { return std::string("T-1"); },
            [this] {
              if (refreshed != nullptr) refreshed->refresh();
            }};
  TillWindow window{till};
};

}  // namespace

TEST_F(TillWindowTest, APaymentIsMadeByTheKeyboardAloneAndItsReceiptRead) {
  QTest::keyClicks(window.focusWidget(), "12,50");
  QTest::keyClick(window.focusWidget(), Qt::Key_Return);
  EXPECT_EQ(named<QListWidget>("Pending operations").count(), 1);
  till.receive(URL::parse("till://done/payment?request_id=T-1&status=approved&transaction_id=4711").value());
  EXPECT_EQ(named<QListWidget>("Pending operations").count(), 0);
  EXPECT_TRUE(named<QPlainTextEdit>("Receipt").toPlainText().contains("transactionId: 4711"));
  EXPECT_EQ(named<QLineEdit>("Transaction id").text(), "4711") << "for a refund";
}

TEST_F(TillWindowTest, ACallbackCantForgeLinesOfTheReceiptAndALongOneIsCut) {
  QTest::keyClicks(window.focusWidget(), "1\r");
  till.receive(URL::parse("till://done/payment?request_id=T-1&status=approved&approval_code=" +
                          std::string(100'000, '9') +
                          "&processor_message=%E2%80%AEa%0Astatus:%00%F0%9F%92%B6")
                   .value());
  const QString receipt = named<QPlainTextEdit>("Receipt").toPlainText();
  EXPECT_TRUE(receipt.contains("processorMessage: \\u{202e}a\\u{a}status:\\u{0}\U0001F4B6\n"))
      << receipt.toStdString();
  EXPECT_TRUE(receipt.contains("999 \u2026 and 98014 more characters")) << receipt.size();
}

TEST_F(TillWindowTest, TheKeypadWritesTheAmountAndEachOperationShowsTheFieldsThatItUses) {
  for (const char* const key : {"1", "2", "Point", "5", "7", "Remove the last digit"}) {
    QTest::mouseClick(&named<QPushButton>(key), Qt::LeftButton);
  }
  EXPECT_EQ(named<QLineEdit>("Amount").text(), "12.5");
  auto& operation = named<QComboBox>("Operation");
  for (int kind = 0; kind < operation.count(); ++kind) {
    operation.setCurrentIndex(kind);
    const till::Needs needed = till::needs(operationKinds[static_cast<std::size_t>(kind)]);
    EXPECT_EQ(named<QLineEdit>("Amount").isVisible(), needed.amount);
    EXPECT_EQ(named<QLineEdit>("Transaction id").isVisible(), needed.transactionId);
    EXPECT_EQ(named<QLineEdit>("Basic token").isVisible(), needed.credentials);
  }
  EXPECT_EQ(named<QLineEdit>("Basic token").echoMode(), QLineEdit::Password);
}

TEST_F(TillWindowTest, AFaultIsASentenceAndEachFieldHasANameAndIsReachedByTab) {
  QTest::keyClick(&named<QLineEdit>("Amount"), Qt::Key_Return);
  EXPECT_TRUE(named<QLabel>("What went wrong").isVisible());
  std::set<QWidget*> reached;
  for (int tabs = 0; tabs < 60; ++tabs) {
    QTest::keyClick(window.focusWidget() != nullptr ? window.focusWidget() : &window, Qt::Key_Tab);
    if (window.focusWidget() != nullptr) reached.insert(window.focusWidget());
  }
  for (QWidget* const widget : window.findChildren<QWidget*>()) {
    const bool isField = qobject_cast<QComboBox*>(widget) != nullptr ||
                         qobject_cast<QPlainTextEdit*>(widget) != nullptr ||
                         qobject_cast<QListWidget*>(widget) != nullptr;
    if (!isField || !widget->isVisible()) continue;
    EXPECT_TRUE(reached.contains(widget)) << widget->accessibleName().toStdString();
    EXPECT_FALSE(widget->accessibleName().isEmpty());
  }
}

int main(int count, char** words) {
  testing::InitGoogleTest(&count, words);
  // Without a desktop, also where the tests are only listed.
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(count, words);
  return RUN_ALL_TESTS();
}
