// Widget tests of the Progress, Top 10, History, Profiles and Help sections over a real store.
#include "UiHarness.h"
#include "support/TestEnvironment.h"
#include "ui/HelpView.h"
#include "ui/HistoryView.h"
#include "ui/LeaderboardView.h"
#include "ui/ProfilesView.h"
#include "ui/ProgressViewPage.h"
#include "ui/SectionWidgets.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>

class TestSections : public QObject
{
    Q_OBJECT

private:
    // One technician pool (35 groups of 10 questions) and one extra pool (50 groups), both current today.
    Pool m_tech = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-test"), startedLastYear(),
                                 QStringLiteral("2026-02-19"));
    Pool m_extra = Fixtures::pool(QStringLiteral("extra"), QStringLiteral("extra-test"), startedLastYear(),
                                  QStringLiteral("2026-02-04"));
    QTemporaryDir m_dir;
    std::unique_ptr<Store> m_store;
    double m_clock = 1000;
    // Learner data recorded once through a store: Anna's passed and failed exams and club challenge, Ben's exam.
    Saved m_recorded;

    // A store over the test pack, starting from the given learner data (none: a first start).
    void fresh(const std::optional<Saved>& saved = std::nullopt)
    {
        m_store.reset();
        QMap<QString, QByteArray> data;
        if (saved)
            data.insert(QStringLiteral("progress.json"), saved->toBytes());
        m_store = makeStore(m_dir, Fixtures::pack({m_tech, m_extra}), data);
        m_store->setClock([this] { return m_clock; });
    }

    const Result& recorded(const QString& name, qint64 score) const
    {
        for (const Result& r : m_recorded.results) {
            if (r.session.name == name && r.score() == score)
                return r;
        }
        qFatal("no recorded result");
    }

private slots:
    void initTestCase()
    {
        Theme::apply(*qApp);
        installFakeUpdater();
        fresh();
        m_store->addProfile(QStringLiteral("Anna"));
        playSession(*m_store, m_clock, m_tech, QStringLiteral("Exam"), QStringLiteral("Anna"), 30, 1200);
        playSession(*m_store, m_clock, m_tech, QStringLiteral("Exam"), QStringLiteral("Anna"), 30, 900);
        playSession(*m_store, m_clock, m_tech, QStringLiteral("Club Challenge"), QStringLiteral("Anna"), 27, 700,
                    QStringLiteral("club7"));
        playSession(*m_store, m_clock, m_tech, QStringLiteral("Exam"), QStringLiteral("Anna"), 10, 300);
        playSession(*m_store, m_clock, m_extra, QStringLiteral("Exam"), QStringLiteral("Anna"), 12, 3725);
        m_store->addProfile(QStringLiteral("Ben"));
        playSession(*m_store, m_clock, m_tech, QStringLiteral("Exam"), QStringLiteral("Ben"), 31, 2400);
        m_store->addProfile(QStringLiteral("Anna"));
        m_recorded = m_store->saved();
        QCOMPARE(m_recorded.results.size(), 6);
    }

    void progressShowsCoverageAndGroupAccuracy()
    {
        fresh();
        m_store->addProfile(QStringLiteral("Anna"));
        ProgressViewPage page(*m_store);
        page.show();
        auto* card = page.findChild<QWidget*>(QStringLiteral("progressPool-tech-test"));
        QCOMPARE(text(card, QStringLiteral("coverage")), QStringLiteral("Pool coverage: 0/350"));
        QCOMPARE(text(card, QStringLiteral("groupAccuracy-T1A")), QStringLiteral("Not studied"));

        // Two right and one wrong in T1A, checked one by one in study mode; the page redraws from the store.
        m_store->begin(m_tech, QStringLiteral("Study All"), QStringLiteral("Anna"), false, QString());
        for (qint64 i = 0; i < 3; ++i) {
            m_store->move(i);
            const qint64 correct = m_store->session()->questions.at(i).correct;
            m_store->answer(i == 1 ? (correct + 1) % 4 : correct);
            m_store->reveal();
        }
        m_store->leave();

        card = page.findChild<QWidget*>(QStringLiteral("progressPool-tech-test"));
        QVERIFY(card);
        QCOMPARE(text(card, QStringLiteral("coverage")), QStringLiteral("Pool coverage: 3/350"));
        auto* bar = card->findChild<QProgressBar*>(QStringLiteral("coverageBar"));
        QVERIFY(bar);
        QCOMPARE(bar->value(), 3);
        QCOMPARE(bar->maximum(), 350);
        QCOMPARE(text(card, QStringLiteral("groupTopic-T1A")), QStringLiteral("First subelement"));
        QCOMPARE(text(card, QStringLiteral("groupAccuracy-T1A")), QStringLiteral("66% · 3 answers"));
        QCOMPARE(text(card, QStringLiteral("groupTopic-T2A")), QStringLiteral("Question group"));
        QCOMPARE(text(card, QStringLiteral("groupAccuracy-T2A")), QStringLiteral("Not studied"));
        QCOMPARE(card->findChildren<QLabel*>(QRegularExpression(QStringLiteral("^groupCode-"))).size(), 35);

        // Another learner sees nothing of Anna's work.
        m_store->addProfile(QStringLiteral("Ben"));
        card = page.findChild<QWidget*>(QStringLiteral("progressPool-tech-test"));
        QCOMPARE(text(card, QStringLiteral("coverage")), QStringLiteral("Pool coverage: 0/350"));
        // A level marked complete leaves the page.
        QVERIFY(page.findChild<QWidget*>(QStringLiteral("progressPool-extra-test")));
        m_store->setLevelComplete(QStringLiteral("extra"), true);
        QVERIFY(!page.findChild<QWidget*>(QStringLiteral("progressPool-extra-test")));
        QVERIFY(page.findChild<QWidget*>(QStringLiteral("progressPool-tech-test")));
    }

    void progressReadinessFollowsRecentFreshExams_data()
    {
        QTest::addColumn<QList<bool>>("passes");
        QTest::addColumn<QString>("readiness");
        QTest::newRow("none") << QList<bool>{} << QStringLiteral("Take a fresh exam to begin tracking readiness.");
        QTest::newRow("three passed") << QList<bool>{true, true, true}
                                      << QStringLiteral("Recent fresh exams: 3/3 passed. Keep practising for "
                                                        "consistency.");
        QTest::newRow("four of five") << QList<bool>{true, true, false, true, true}
                                      << QStringLiteral("Recent fresh exams: 4/5 passed. Keep practising for "
                                                        "consistency.");
        QTest::newRow("last five passed") << QList<bool>{false, true, true, true, true, true}
                                          << QStringLiteral("Recent fresh exams: 5/5 passed. Consistent passing "
                                                            "results.");
    }

    void progressReadinessFollowsRecentFreshExams()
    {
        QFETCH(QList<bool>, passes);
        QFETCH(QString, readiness);
        // Anna's recorded passed and failed exams, repeated in the wanted order, then her passed club challenge,
        // which is no fresh exam.
        Saved saved = m_recorded;
        saved.results.clear();
        for (bool pass : passes) {
            Result r = recorded(QStringLiteral("Anna"), pass ? 30 : 10);
            r.id = QUuid::createUuid();
            saved.results.append(r);
        }
        saved.results.append(recorded(QStringLiteral("Anna"), 27));
        fresh(saved);
        ProgressViewPage page(*m_store);
        page.show();
        auto* card = page.findChild<QWidget*>(QStringLiteral("progressPool-tech-test"));
        QVERIFY(card);
        QCOMPARE(text(card, QStringLiteral("readiness")), readiness);
        QCOMPARE(text(page.findChild<QWidget*>(QStringLiteral("progressPool-extra-test")), QStringLiteral("readiness")),
                 QStringLiteral("Take a fresh exam to begin tracking readiness."));
        // Another learner has no readiness of their own.
        m_store->addProfile(QStringLiteral("Ben"));
        QCOMPARE(text(page.findChild<QWidget*>(QStringLiteral("progressPool-tech-test")), QStringLiteral("readiness")),
                 QStringLiteral("Take a fresh exam to begin tracking readiness."));
    }

    void boardsFollowTheTypedCode_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("names");
        const QStringList both{QStringLiteral("Ben"), QStringLiteral("Anna")};
        QTest::newRow("blank: ordinary exams") << QString() << both;
        QTest::newRow("spaces only") << QStringLiteral("   ") << both;
        QTest::newRow("exact code") << QStringLiteral("CLUB7") << QStringList{QStringLiteral("Anna")};
        QTest::newRow("lower case with spaces") << QStringLiteral("  club7 ") << QStringList{QStringLiteral("Anna")};
        QTest::newRow("other code") << QStringLiteral("club8") << QStringList{};
    }

    void boardsFollowTheTypedCode()
    {
        QFETCH(QString, typed);
        QFETCH(QStringList, names);
        fresh(m_recorded);
        LeaderboardView view(*m_store);
        view.show();
        auto* code = view.findChild<QLineEdit*>(QStringLiteral("challengeCode"));
        QVERIFY(code);
        QTest::keyClicks(code, typed);

        auto* board = view.findChild<QWidget*>(QStringLiteral("board-tech-test"));
        QVERIFY(board);
        QStringList shown;
        for (int rank = 1; board->findChild<QLabel*>(QStringLiteral("entry%1-name").arg(rank)); ++rank) {
            QCOMPARE(text(board, QStringLiteral("entry%1-rank").arg(rank)), QString::number(rank));
            shown << text(board, QStringLiteral("entry%1-name").arg(rank));
        }
        QCOMPARE(shown, names);
        QCOMPARE(board->findChild<QLabel*>(QStringLiteral("boardEmpty")) != nullptr, names.isEmpty());
        if (names.size() == 2) {
            // Ben's 31 beats Anna's 30; Anna's faster 30 is her one entry.
            QCOMPARE(text(board, QStringLiteral("entry1-score")), QStringLiteral("31/35"));
            QCOMPARE(text(board, QStringLiteral("entry1-time")), QStringLiteral("00:40:00"));
            QCOMPARE(text(board, QStringLiteral("entry2-time")), QStringLiteral("00:15:00"));
        }
        // Anna's extra exam is on the ordinary extra board only.
        auto* extra = view.findChild<QWidget*>(QStringLiteral("board-extra-test"));
        QVERIFY(extra);
        if (typed.trimmed().isEmpty())
            QCOMPARE(text(extra, QStringLiteral("entry1-score")), QStringLiteral("12/50"));
        else
            QCOMPARE(text(extra, QStringLiteral("boardEmpty")), QStringLiteral("No qualifying attempts yet."));
    }

    void boardDatesAreAbbreviated_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("text");
        QTest::newRow("en_US") << QStringLiteral("en_US") << QStringLiteral("Nov 22, 2026");
        QTest::newRow("en_GB") << QStringLiteral("en_GB") << QStringLiteral("22 Nov 2026");
        QTest::newRow("de_DE") << QStringLiteral("de_DE") << QStringLiteral("22. Nov. 2026");
    }

    void boardDatesAreAbbreviated()
    {
        QFETCH(QString, locale);
        QFETCH(QString, text);
        QCOMPARE(SectionWidgets::abbreviatedDate(QDate(2026, 11, 22), QLocale(locale)), text);
    }

    void historyListsOwnAttemptsAndOpensTheResult()
    {
        fresh();
        HistoryView view(*m_store);
        view.show();
        QCOMPARE(text(&view, QStringLiteral("historyEmpty")),
                 QStringLiteral("Your completed attempts will appear here."));
        // A Guest attempt is not kept at all.
        playSession(*m_store, m_clock, m_tech, QStringLiteral("Exam"), QStringLiteral("Guest"), 3, 60);
        QVERIFY(view.findChild<QLabel*>(QStringLiteral("historyEmpty")));

        // A Guest-named attempt filed under Anna's profile never shows either.
        Saved saved = m_recorded;
        Result guest = recorded(QStringLiteral("Anna"), 30);
        guest.session.name = QStringLiteral("guest");
        guest.id = QUuid::createUuid();
        saved.results.append(guest);
        fresh(saved);
        HistoryView anna(*m_store);
        anna.show();
        const auto rows = anna.findChildren<QPushButton*>(QStringLiteral("historyRow"));
        QCOMPARE(rows.size(), 5);
        QVERIFY(!anna.findChild<QLabel*>(QStringLiteral("historyEmpty")));
        QCOMPARE(text(rows.at(0), QStringLiteral("historyTitle")), QStringLiteral("Amateur Extra · Exam"));
        // A row is tall enough for both of its lines, whatever the theme says about button heights.
        QVERIFY(rows.at(0)->sizeHint().height() >=
                rows.at(0)->findChild<QLabel*>(QStringLiteral("historyTitle"))->sizeHint().height() +
                    rows.at(0)->findChild<QLabel*>(QStringLiteral("historyDate"))->sizeHint().height());
        QCOMPARE(text(rows.at(0), QStringLiteral("historyScore")), QStringLiteral("12/50 · 01:02:05"));
        QCOMPARE(text(rows.at(2), QStringLiteral("historyTitle")), QStringLiteral("Technician · Club Challenge"));
        QCOMPARE(text(rows.at(4), QStringLiteral("historyScore")), QStringLiteral("30/35 · 00:20:00"));

        QVERIFY(!m_store->result());
        QTest::mouseClick(rows.at(2), Qt::LeftButton);
        QVERIFY(m_store->result().has_value());
        QCOMPARE(*m_store->result(), recorded(QStringLiteral("Anna"), 27));

        // While hidden (a session fills the window) the screen waits; showing it again brings it up to date.
        anna.hide();
        m_store->setResult(std::nullopt);
        m_store->addProfile(QStringLiteral("Ben"));
        anna.show();
        const auto benRows = anna.findChildren<QPushButton*>(QStringLiteral("historyRow"));
        QCOMPARE(benRows.size(), 1);
        QCOMPARE(text(benRows.at(0), QStringLiteral("historyScore")), QStringLiteral("31/35 · 00:40:00"));
    }

    void profilesAddSelectAndClear()
    {
        fresh();
        ProfilesView view(*m_store);
        view.show();
        auto* nameField = view.findChild<QLineEdit*>(QStringLiteral("newProfileName"));
        auto* add = view.findChild<QPushButton*>(QStringLiteral("addProfile"));
        QVERIFY(nameField && add);
        QVERIFY(!add->isEnabled());
        QTest::keyClicks(nameField, QStringLiteral("   "));
        QVERIFY(!add->isEnabled());
        nameField->clear();

        QTest::keyClicks(nameField, QStringLiteral(" Anna "));
        QVERIFY(add->isEnabled());
        QTest::mouseClick(add, Qt::LeftButton);
        QCOMPARE(nameField->text(), QString());
        QCOMPARE(m_store->profile().name, QStringLiteral("Anna"));

        // The row buttons say which learner is current; choosing Guest makes Guest current.
        auto buttonOf = [&](const QString& learner) -> QPushButton* {
            for (const Profile& p : m_store->saved().profiles) {
                if (p.name == learner) {
                    auto* row = view.findChild<QWidget*>(QStringLiteral("profileRow-") +
                                                         p.id.toString(QUuid::WithoutBraces).toUpper());
                    return row ? row->findChild<QPushButton*>(QStringLiteral("selectProfile")) : nullptr;
                }
            }
            return nullptr;
        };
        QVERIFY(buttonOf(QStringLiteral("Anna")) && buttonOf(QStringLiteral("Guest")));
        const auto annaThenGuest = [&] {
            return QStringList{buttonOf(QStringLiteral("Anna"))->text(), buttonOf(QStringLiteral("Guest"))->text()};
        };
        QCOMPARE(annaThenGuest(), QStringList({"Selected", "Select"}));
        QTest::mouseClick(buttonOf(QStringLiteral("Guest")), Qt::LeftButton);
        QCOMPARE(m_store->profile().name, QStringLiteral("Guest"));
        QCOMPARE(annaThenGuest(), QStringList({"Select", "Selected"}));

        // Adding an existing name in other letters selects it and adds no row.
        QTest::keyClicks(nameField, QStringLiteral("ANNA"));
        QTest::mouseClick(add, Qt::LeftButton);
        QCOMPARE(m_store->profile().name, QStringLiteral("Anna"));
        QCOMPARE(view.findChildren<QPushButton*>(QStringLiteral("selectProfile")).size(), 2);

        // Cancelling the confirmation keeps everything.
        auto* clear = view.findChild<QPushButton*>(QStringLiteral("clearAllData"));
        QVERIFY(clear);
        QTest::mouseClick(clear, Qt::LeftButton);
        QMessageBox* box = view.confirmation();
        QVERIFY(box);
        QCOMPARE(box->windowTitle(), QStringLiteral("Clear All Data for Everyone?"));
        QCOMPARE(box->informativeText(),
                 QStringLiteral("This permanently removes every learner profile, score, saved session, bookmark and "
                                "progress record on this computer, including recovery copies. It resets text size and "
                                "starts again with Guest. Question pools and any reports you exported elsewhere are "
                                "kept. This cannot be undone."));
        QCOMPARE(box->buttonRole(box->findChild<QPushButton*>(QStringLiteral("confirmationAction"))),
                 QMessageBox::DestructiveRole);
        QTest::mouseClick(box->findChild<QPushButton*>(QStringLiteral("confirmationCancel")), Qt::LeftButton);
        QVERIFY(!view.confirmation());
        QCOMPARE(m_store->saved().profiles.size(), 2);

        QTest::mouseClick(clear, Qt::LeftButton);
        box = view.confirmation();
        QVERIFY(box);
        QTest::mouseClick(box->findChild<QPushButton*>(QStringLiteral("confirmationAction")), Qt::LeftButton);
        QCOMPARE(m_store->message(), QString());
        QCOMPARE(m_store->saved().profiles.size(), 1);
        QCOMPARE(m_store->profile().name, QStringLiteral("Guest"));
        const auto rows = view.findChildren<QPushButton*>(QStringLiteral("selectProfile"));
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows.first()->text(), QStringLiteral("Selected"));
    }

    void helpShowsTheGuideOrSaysItIsMissing()
    {
        fresh();
        {
            HelpView view(*m_store);
            const QString guide = text(&view, QStringLiteral("userGuide"));
            QVERIFY(guide.contains(QStringLiteral("Kestovan Aerowen")));
            QVERIFY(guide.contains(QStringLiteral("progress.json")));
        }
        // Without the application's resources the screen explains instead of showing nothing.
        Q_CLEANUP_RESOURCE(builtin);
        HelpView view(*m_store);
        QCOMPARE(text(&view, QStringLiteral("userGuide")), QStringLiteral("The user guide could not be loaded."));
        Q_INIT_RESOURCE(builtin);
    }
};

AEROWEN_TEST_MAIN(TestSections, QApplication)
#include "TestSections.moc"
