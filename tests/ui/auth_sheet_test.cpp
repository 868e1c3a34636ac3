#include "app/window/AuthSheet.h"
#include "remote/FakeRemote.h"
#include "remote/authorization/AuthorizationController.h"
#include "support/TestEnvironment.h"
#include "widgets/AlertSheet.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The sheet with the keyboard, over the real controller and a client in memory.
class AuthSheetTest : public QObject {
    Q_OBJECT

    /// The agent checks for as long as this is shut.
    std::atomic<bool> m_answers{true};

private Q_SLOTS:
    void cleanup() {
        VLThread::cancelAll();
        QVERIFY(VLThread::joinAll(10s));
        VLThread::reset();
    }

    void typing() {
        Bench bench;
        bench.addClients(1, [this](const QString&, const QVariantList& arguments) -> QVariant {
            while (!m_answers)
                VLThread::sleepFor(1ms);
            return arguments[1].isValid();  // any password will do
        });
        QWidget window;
        VLAlert::setPresenter(AlertSheet::presenter(&window));
        const auto nothing = [] {};
        AuthorizationController controller(
            {.runner = &bench.runner,
             .passwords = {},
             .selectedServices = bench.environment().selectedServices,
             .isKnown = [](const RemoteClientPtr&) { return true; },
             .processingCancelled = [&] { return bench.progress.processingCancelled(); },
             .setProcessingCancelled = [&](bool value) { bench.progress.setProcessingCancelled(value); },
             .cancelAllProgress = nothing,
             .putProgressAway = nothing,
             .bringProgressBack = nothing,
             .loginName = u"me"_s,
             .startTimer = [](std::chrono::seconds, std::function<void()>) {},
             .lookInterval = 5ms});
        AuthSheet sheet(controller, &window);
        controller.setView(&sheet);
        auto& user = *sheet.findChild<QLineEdit*>(u"authUserNameText"_s);
        auto& password = *sheet.findChild<QLineEdit*>(u"authPasswordText"_s);
        auto& ok = *sheet.findChild<QPushButton*>(u"authOkButton"_s);
        std::optional<HostCredentials> credentials;
        std::atomic<int> ended{0};
        const auto ask = [&] {
            VLThread::detach(u"worker"_s, [&] {
                credentials = controller.credentialsFor(bench.clients[0]);
                ++ended;
            });
        };
        window.show();

        ask();
        QTRY_VERIFY(sheet.isVisible());
        QCOMPARE(user.text(), u"me"_s);
        QVERIFY(user.hasFocus() || sheet.focusWidget() == &user);
        sheet.findChild<QCheckBox*>(u"authKeychainCheck"_s)->setChecked(false);
        user.clear();
        QVERIFY(!ok.isEnabled());
        QTest::keyClicks(&user, u"boss"_s);
        QTest::keyClick(&user, Qt::Key_Return);  // without a password: refused
        QTRY_VERIFY(sheet.findChild<AlertSheet*>());
        sheet.findChild<AlertSheet*>()->accept();
        QVERIFY(sheet.isVisible());

        m_answers = false;
        QTest::keyClicks(&password, u"horse"_s);
        QTest::keyClick(&password, Qt::Key_Return);
        QVERIFY(password.text().isEmpty() && !password.isEnabled() && !ok.isEnabled() && sheet.isVisible());
        m_answers = true;
        QTRY_COMPARE(ended.load(), 1);
        QVERIFY(!sheet.isVisible() && user.text().isEmpty());
        QCOMPARE(credentials->authName, u"boss"_s);

        VLUserDefaults::standardUserDefaults().removeObjectForKey(u"users"_s);
        QVERIFY(onWorker([&] { controller.removeStoredPasswordForHost(u"c0.local."_s); }));
        ask();
        QTRY_VERIFY(sheet.isVisible());
        QTest::mouseClick(sheet.findChild<QPushButton*>(u"authSkipButton"_s), Qt::LeftButton);
        QTRY_COMPARE(ended.load(), 2);
        QVERIFY(!sheet.isVisible() && !credentials && !bench.progress.processingCancelled());

        ask();
        QTRY_VERIFY(sheet.isVisible());
        QTest::keyClicks(&password, u"horse"_s);
        QTest::keyClick(&password, Qt::Key_Escape);
        QTRY_COMPARE(ended.load(), 3);
        QVERIFY(!sheet.isVisible() && password.text().isEmpty() && bench.progress.processingCancelled());
        controller.setView(nullptr);
        VLAlert::setPresenter({});
    }
};

ORLENDO_WIDGETS_TEST_MAIN(AuthSheetTest)
#include "auth_sheet_test.moc"
