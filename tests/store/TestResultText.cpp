// The exported and printed texts of a result, and saving the export through the save panel.
#include "store/ResultText.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;

using Answers = QMap<QString, qint64>;

namespace {

// 2026-11-22 20:46:00 UTC in seconds since 2001-01-01 UTC; the test runs in UTC with US English formats.
constexpr double finishedAt = 817073160;

Result sample(const QMap<QString, qint64>& answers, double seconds = 0)
{
    Pool pool = Fixtures::pool(u"technician"_s, u"tech-2026"_s);
    Session s;
    s.id = QUuid::createUuid();
    s.profile = QUuid::createUuid();
    s.name = u"Zoë Ω"_s;
    s.mode = u"Exam"_s;
    s.questions = pool.questions.mid(0, 3); // correct answers: 1, 2, 3
    s.questions[0].prompt = u"Which Ω — café?"_s;
    s.pool = pool;
    s.answers = answers;
    Result r;
    r.id = QUuid::createUuid();
    r.session = s;
    r.finished = finishedAt;
    r.seconds = seconds;
    return r;
}

} // namespace

class TestResultText : public QObject
{
    Q_OBJECT

private slots:
    void exportListsEveryQuestion()
    {
        const Result r = sample({{u"T1A01"_s, 1}, {u"T1A02"_s, 0}});
        const QString expected = QStringLiteral("Kestovan Aerowen\n"
                                                "Zoë Ω — Technician\n"
                                                "Exam · Pool tech-2026\n"
                                                "11/22/26 8:46 PM\n"
                                                "Score: 1/3 · Time: 00:00:00\n"
                                                "Practice result, not a licensing examination.\n"
                                                "\n"
                                                "T1A01: Which Ω — café?\n"
                                                "Your answer: B of T1A01\n"
                                                "Correct answer: B of T1A01\n"
                                                "\n"
                                                "T1A02: What is T1A02?\n"
                                                "Your answer: A of T1A02\n"
                                                "Correct answer: C of T1A02\n"
                                                "\n"
                                                "T1A03: What is T1A03?\n"
                                                "Your answer: Unanswered\n"
                                                "Correct answer: D of T1A03\n"
                                                "\n");
        QCOMPARE(resultExportText(r), expected);
    }

    void printListsOnlyMissedQuestions_data()
    {
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("expected");
        const QString header = QStringLiteral("Kestovan Aerowen — Practice Result\n"
                                              "Zoë Ω · Technician\n");
        QTest::newRow("one right, one wrong, one unanswered")
            << QMap<QString, qint64>{{u"T1A01"_s, 1}, {u"T1A02"_s, 0}} << 3725.9
            << header + QStringLiteral("Score 1/3 · 01:02:05\n"
                                       "Pool tech-2026\n"
                                       "\n"
                                       "T1A02: What is T1A02?\n"
                                       "Your answer: A of T1A02\n"
                                       "Correct: C of T1A02\n"
                                       "\n"
                                       "T1A03: What is T1A03?\n"
                                       "Your answer: Unanswered\n"
                                       "Correct: D of T1A03\n"
                                       "\n");
        QTest::newRow("perfect prints the header only")
            << QMap<QString, qint64>{{u"T1A01"_s, 1}, {u"T1A02"_s, 2}, {u"T1A03"_s, 3}} << 0.0
            << header + u"Score 3/3 · 00:00:00\nPool tech-2026\n\n"_s;
        // A damaged progress file may hold an index outside the answers; it must not be used.
        QTest::newRow("index outside the answers")
            << QMap<QString, qint64>{{u"T1A01"_s, 1}, {u"T1A02"_s, 7}, {u"T1A03"_s, -1}} << 59.99
            << header + QStringLiteral("Score 1/3 · 00:00:59\n"
                                       "Pool tech-2026\n"
                                       "\n"
                                       "T1A02: What is T1A02?\n"
                                       "Your answer: Unanswered\n"
                                       "Correct: C of T1A02\n"
                                       "\n"
                                       "T1A03: What is T1A03?\n"
                                       "Your answer: Unanswered\n"
                                       "Correct: D of T1A03\n"
                                       "\n");
    }
    void printListsOnlyMissedQuestions()
    {
        QFETCH(Answers, answers);
        QFETCH(double, seconds);
        QFETCH(QString, expected);
        QCOMPARE(resultPrintText(sample(answers, seconds)), expected);
    }

    void damagedCorrectIndexIsNotUsed()
    {
        Result r = sample({{u"T1A01"_s, 9}});
        r.session.questions[0].correct = 4;
        const QString text = resultExportText(r);
        QVERIFY(text.contains(u"T1A01: Which Ω — café?\nYour answer: Unanswered\nCorrect answer: "_s));
        QVERIFY(resultPrintText(r).contains(u"T1A01: "_s));
    }

    void exportWritesThroughTheSavePanel_data()
    {
        QTest::addColumn<QString>("target"); // relative to a temporary folder; empty means cancelled
        QTest::addColumn<bool>("written");
        QTest::addColumn<bool>("failed");
        QTest::newRow("chosen file") << u"mine.txt"_s << true << false;
        QTest::newRow("non-ASCII name") << u"Résultat Ω.txt"_s << true << false;
        QTest::newRow("cancelled") << QString() << false << false;
        QTest::newRow("folder is a file") << u"blocker/result.txt"_s << false << true;
    }
    void exportWritesThroughTheSavePanel()
    {
        QFETCH(QString, target);
        QFETCH(bool, written);
        QFETCH(bool, failed);
        QTemporaryDir storage;
        QTemporaryDir out;
        Fixtures::writeFile(out.filePath(u"blocker"_s), "not a folder");
        Store store(Fixtures::sourcePackPath(), storage.path());
        QStringList proposed;
        store.setSavePanel([&](const QString& name) -> std::optional<QString> {
            proposed.append(name);
            if (target.isEmpty())
                return std::nullopt;
            return out.filePath(target);
        });
        const Result r = sample({{u"T1A02"_s, 3}});
        const QString path = out.filePath(target);
        if (written)
            Fixtures::writeFile(path, "an older export that is much longer than the new one would be, replaced whole");
        store.exportResult(r);
        QCOMPARE(proposed, QStringList{u"Aerowen-Result.txt"_s});
        if (written) {
            // UTF-8 without byte-order mark, the whole old file replaced.
            QCOMPARE(Fixtures::readFile(path), resultExportText(r).toUtf8());
            QVERIFY(Fixtures::readFile(path).startsWith("Kestovan Aerowen\n"));
        }
        QCOMPARE(!store.message().isEmpty(), failed);
        if (!failed)
            QCOMPARE(QDir(out.path()).entryList(QDir::Files).size(), written ? 2 : 1);
    }

    void exportWithoutPanelDoesNothing()
    {
        QTemporaryDir storage;
        Store store(Fixtures::sourcePackPath(), storage.path());
        store.setSavePanel({});
        store.exportResult(sample({}));
        QVERIFY(store.message().isEmpty());
    }
};

AEROWEN_TEST_MAIN(TestResultText, QCoreApplication)
#include "TestResultText.moc"
