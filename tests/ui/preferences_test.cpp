#include "app/Preferences.h"

#include "SampleConsole.h"
#include "app/window/PreferencesWindow.h"
#include "support/TestEnvironment.h"
#include "support/TestTable.h"
#include "widgets/AlertSheet.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

}  // namespace

class PreferencesTest : public QObject {
    Q_OBJECT

    std::unique_ptr<SampleConsole> m_console;

    PreferencesWindow& preferences() {
        m_console->find<QAction>("preferencesAction")->trigger();
        return *m_console->window->findChild<PreferencesWindow*>();
    }

private Q_SLOTS:
    void initTestCase() { applyTheme(Theme::Light); }
    void init() {
        for (const char* key : {"manualConnections", "requireAdminPassword", "firstRun", "theme"})
            defaults().removeObjectForKey(QLatin1String(key));
        m_console = std::make_unique<SampleConsole>();
        QVERIFY(m_console->start());
        m_console->window->show();
    }
    void cleanup() { QVERIFY(m_console->end()); }

    void switchesKeepTheirTypes() {
        const std::tuple<QString, QVariant, QVariant> rows[] = {
            {u"firstRun"_s, false, true}, {u"autoRefresh"_s, 0LL, 1LL}, {u"authAddKeychain"_s, 0LL, 1LL}};
        for (const auto& [key, off, on] : rows) {
            auto* box = preferences().findChild<QCheckBox*>(key);
            QVERIFY(box && box->isChecked());  // what holds while nothing is stored
            for (const QVariant& expected : {off, on}) {
                box->click();
                QCOMPARE(defaults().objectForKey(key), expected);
                QCOMPARE(defaults().objectForKey(key).typeId(), expected.typeId());
            }
            Preferences::setOn(key, false);  // as any other part may
            QVERIFY(!box->isChecked());
            Preferences::setOn(key, true);
        }
    }

    void nobodyLocksThemselvesOutUnaware() {
        for (const bool wanted : {false, true}) {
            auto* box = preferences().findChild<QCheckBox*>(u"requireAdminPassword"_s);
            box->click();
            auto* alert = preferences().findChild<AlertSheet*>();
            QVERIFY(alert && alert->isVisible());
            alert->findChild<QPushButton*>(wanted ? u"alternateButton"_s : u"defaultButton"_s)->click();
            QCOMPARE(box->isChecked(), wanted);
            QCOMPARE(defaults().objectForKey(u"requireAdminPassword"_s), wanted ? QVariant(1LL) : QVariant());
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    void alertsOfWorkers_data() {
        const TestTable<QString, int> row("happens", "code");
        row("time passes", {}, VLAlert::DefaultReturn);
        row("answered", u"alternateButton"_s, VLAlert::AlternateReturn);
        row("window goes", u"delete"_s, VLAlert::OtherReturn);
        row("window is closed", u"close"_s, VLAlert::OtherReturn);
    }
    void alertsOfWorkers() {
        QFETCH(QString, happens);
        auto* parent = new QWidget(m_console->window.get());
        parent->setWindowFlag(Qt::Window);
        parent->show();
        std::atomic<int> code{99};
        VLThread::detach(u"asks"_s, [&code, parent, time = happens.isEmpty() ? 50ms : 1h] {
            code = VLAlert::timedAlertSheetWithMessageText(u"Sync?"_s, u"Sync"_s, u"Later"_s, {}, {}, parent,
                                                           time);
        });
        QPointer<AlertSheet> sheet;
        QTRY_VERIFY((sheet = parent->findChild<AlertSheet*>()) && sheet->isVisible());
        if (happens == u"delete"_s)
            delete parent;
        else if (happens == u"close"_s)
            parent->close();
        else if (!happens.isEmpty())
            sheet->findChild<QPushButton*>(happens)->click();
        QTRY_VERIFY(code != 99);
        QTEST(code.load(), "code");
        QTRY_VERIFY(!sheet);
    }

    void alertKeys_data() {
        const TestTable<QStringList, int, int> row("titles", "key", "code");
        const QStringList three{u"Save"_s, u"No"_s, u"Cancel"_s};
        row("return", three, Qt::Key_Return, 1);
        row("escape, one button", QStringList(3), Qt::Key_Escape, 1);
        row("escape, two", {u"Sync"_s, u"Skip"_s, {}}, Qt::Key_Escape, 0);
        row("escape means Cancel", three, Qt::Key_Escape, -1);
    }
    void alertKeys() {
        QFETCH(QStringList, titles);
        QFETCH(int, key);
        QFETCH(int, code);
        int answer = 99;
        const auto delegate = std::make_shared<VLAlertHandlers>(
            QHash<QString, VLAlertHandlers::Handler>{{u"ended"_s, [&answer](int given) { answer = given; }}});
        const QString text = u"<b>bold</b> & <img src=\"/etc/passwd\">"_s;
        VLAlert::alertSheetWithMessageText(u"<i>Message</i>"_s, titles[0], titles[1], titles[2], text,
                                           nullptr, delegate, u"ended"_s, false);
        auto* alert = m_console->window->findChild<AlertSheet*>();
        QVERIFY(alert && alert->isVisible());
        const auto labels = alert->findChildren<QLabel*>();
        for (const QLabel* label : labels)
            if (!label->text().isEmpty()) QCOMPARE(label->textFormat(), Qt::PlainText);
        QTest::keyClick(alert, Qt::Key(key));
        QCOMPARE(answer, code);
    }

    void webViewLoadsNothing() {
        StillTextBrowser view;
        setHTMLString(u"<p>Text<img src=\"file:///etc/hostname\"></p>"_s, view);
        QVERIFY(view.toPlainText().startsWith(u"Text"_s));
        view.setSource(QUrl(u"file:///etc/hostname"_s));
        QVERIFY(view.toPlainText().startsWith(u"Text"_s));
    }
};

ORLENDO_WIDGETS_TEST_MAIN(PreferencesTest)
#include "preferences_test.moc"
