#include "app/window/AuthSheet.h"
#include "remote/VLCallback.h"
#include "remote/authorization/AuthorizationController.h"
#include "remote/authorization/AuthorizedRunner.h"
#include "remote/authorization/VLKeychain.h"
#include "support/Fleet.h"
#include "tools/addonry/AddonryController.h"
#include "widgets/AlertSheet.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

/// The sheet with the keyboard, over a real agent: whoever is let in changes that machine's disk.
class AuthSheetTest : public QObject {
    Q_OBJECT

    Fleet m_fleet{QStringLiteral(AGENT_PROGRAM)};
    QWidget m_window;
    std::unique_ptr<AuthSheet> m_sheet;
    QLineEdit *m_user = nullptr, *m_password = nullptr;
    QPushButton* m_ok = nullptr;
    std::atomic<int> m_runs{0};  ///< that have ended
    const QString m_folder = u"/Library/Plug-Ins/FxPlug"_s;
    QString m_plugin;  ///< its file name

    [[nodiscard]] AuthorizationController& authorization() { return m_fleet.console().authorization(); }
    [[nodiscard]] QString pluginPath(bool enabled) const {
        return m_folder + (enabled ? u"/"_s : u" (Disabled)/"_s) + m_plugin;
    }
    [[nodiscard]] bool isEnabled() const { return QFile::exists(m_fleet.path(0, pluginPath(true))); }
    /// The administrator's click, which needs rights on the machine.
    void startToggling() {
        const QList<VLServicePtr> selected = m_fleet.console().services().selectedServices();
        const RunPtr run = m_fleet.console().taskThreads().runs().begin(
            {.tool = u"addonry"_s, .action = u"Disable"_s, .subject = u"Film Grain"_s},
            {selected.begin(), selected.end()});
        VLThread::detach(u"toggle"_s, [this, run, enabled = isEnabled()] {
            const RunScope scope(run);
            m_fleet.tool<AddonryController>(u"addonry"_s)
                .context()
                .authorizedRunner->authExecuteRemoteMethods(u"addonryEnablePlugin:settings:"_s,
                                                            pluginPath(enabled), enabled ? 1 : 0);
            ++m_runs;
        });
    }
    void type(const QString& user, const QString& password) {
        m_user->clear();
        QTest::keyClicks(m_user, user);
        QTest::keyClicks(m_password, password);
        QTest::keyClick(m_password, Qt::Key_Return);
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_fleet.start(1));
        const QDir folder(m_fleet.path(0, m_folder));
        m_plugin = folder.entryList({u"*.fxplug"_s}).value(0);
        QVERIFY(!m_plugin.isEmpty());
        m_sheet = std::make_unique<AuthSheet>(authorization(), &m_window);
        m_user = m_sheet->findChild<QLineEdit*>(u"authUserNameText"_s);
        m_password = m_sheet->findChild<QLineEdit*>(u"authPasswordText"_s);
        m_ok = m_sheet->findChild<QPushButton*>(u"authOkButton"_s);
        authorization().setView(m_sheet.get());
        VLAlert::setPresenter(AlertSheet::presenter(&m_window));
        m_window.show();
    }
    void cleanupTestCase() {
        VLAlert::setPresenter({});
        authorization().setView(nullptr);
        QVERIFY(!logLines().join(u'\n').contains(u"corvalin-sample"_s));
    }

    void wrongThenRight() {
        startToggling();
        QTRY_VERIFY_WITH_TIMEOUT(m_sheet->isVisible(), patience);
        QVERIFY(!m_user->text().isEmpty() && m_sheet->focusWidget() == m_user);
        m_user->clear();
        QVERIFY(!m_ok->isEnabled());
        m_sheet->findChild<QCheckBox*>(u"authKeychainCheck"_s)->setChecked(false);
        m_sheet->findChild<QCheckBox*>(u"authApplyToAllCheck"_s)->setChecked(true);
        QCOMPARE(m_sheet->findChild<QLabel*>(u"authPurposeText"_s)->text(),
                 u"For Addonry: Disable Film Grain on Bay 1."_s);
        std::atomic<bool> isKept{true};
        VLThread::detach(u"look"_s, [&] { isKept = VLKeychain::outlivesProgram(); });
        const auto* notKept = m_sheet->findChild<QLabel*>(u"authNotKeptText"_s);
        QTRY_VERIFY_WITH_TIMEOUT(notKept->isVisible() != isKept, patience);

        type(u"admin"_s, u"a guess"_s);
        QVERIFY(m_password->text().isEmpty() && !m_password->isEnabled() && !m_ok->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(m_sheet->findChild<AlertSheet*>(), patience);
        auto* alert = m_sheet->findChild<AlertSheet*>();
        QCOMPARE(alert->findChild<QLabel*>(u"informativeText"_s)->text(),
                 u"Please enter a valid admin username and password for Bay 1."_s);
        alert->accept();
        QVERIFY(m_sheet->isVisible() && m_runs == 0 && isEnabled());

        type(u"admin"_s, u"corvalin-sample"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_runs.load(), 1, patience);
        QVERIFY(!m_sheet->isVisible() && m_user->text().isEmpty());
        QVERIFY(!isEnabled() && QFile::exists(m_fleet.path(0, pluginPath(false))));

        startToggling();  // the session knows the password
        QTRY_COMPARE_WITH_TIMEOUT(m_runs.load(), 2, patience);
        QVERIFY(isEnabled());
        QCOMPARE(logLines().count(u"Showing authorization dialog..."_s), 1);
    }

    /// A scan that was refused makes the console ask again.
    void skipAndCancel() {
        const auto scan =
            VLCallback::callbackWithName(u"vlEncodemendScanFinished"_s, {}, m_fleet.hostName(0));
        scan->postCallback({{u"output"_s, u"unable to authorize: who are you?"_s}});
        m_fleet.console().objectDidPostCallback(scan);
        QTRY_VERIFY(authorization().authorizationDict().isEmpty());

        startToggling();
        QTRY_VERIFY_WITH_TIMEOUT(m_sheet->isVisible(), patience);
        QCOMPARE(m_user->text(), u"admin"_s);
        QVERIFY(m_sheet->findChild<QCheckBox*>(u"authApplyToAllCheck"_s)->isChecked());
        QTest::mouseClick(m_sheet->findChild<QPushButton*>(u"authSkipButton"_s), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(m_runs.load(), 3, patience);
        QVERIFY(!m_sheet->isVisible() && !m_fleet.console().taskThreads().processingCancelled());

        startToggling();
        QTRY_VERIFY_WITH_TIMEOUT(m_sheet->isVisible(), patience);
        QTest::keyClicks(m_password, u"corvalin-sample"_s);
        QTest::keyClick(m_password, Qt::Key_Escape);
        QTRY_COMPARE_WITH_TIMEOUT(m_runs.load(), 4, patience);
        QVERIFY(!m_sheet->isVisible() && m_password->text().isEmpty() && isEnabled());
        QVERIFY(m_fleet.console().taskThreads().processingCancelled());
    }
};

ORLENDO_WIDGETS_TEST_MAIN(AuthSheetTest)
#include "auth_sheet_test.moc"
