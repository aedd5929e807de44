// Parsing pool text: periods, questions, answers, references, topics and validation.
#include "support/FixtureDocuments.h"
#include "support/Outcome.h"
#include "support/TestEnvironment.h"

#include <QCryptographicHash>
#include <QTest>

using namespace OfficialUpdates;
using namespace Qt::StringLiterals;
namespace FD = FixtureDocuments;

namespace {

Pool parseLines(const QStringList& lines, const QString& level = QStringLiteral("technician"),
                const QUrl& source = FD::technicianSource())
{
    return parse(FD::document(lines), source, level).pools.first();
}

// Replaces the line of question id at offset (0 = identifier line, 1 = prompt, 2..5 = answers).
QStringList edited(QStringList lines, const QString& id, int offset, const QString& text)
{
    lines[FD::questionLine(lines, id) + offset] = text;
    return lines;
}

} // namespace

class ParseTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { FD::isolateTemporaryFolder(); }
    void cleanup() { QCOMPARE(FD::leftoverDocuments(), QStringList()); }

    void validDocumentGivesOneValidatedPool()
    {
        const QByteArray data = FD::document(FD::poolLines(QStringLiteral("technician")));
        const Pack pack = parse(data, FD::technicianSource(), QStringLiteral("technician"));
        QCOMPARE(pack.pools.size(), 1);
        QVERIFY(pack.assets.isEmpty());
        const Pool& pool = pack.pools.first();
        const QString digest = QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex());
        QCOMPARE(pool.id, QStringLiteral("technician-2026-2026-02-19-") + digest.left(8));
        QCOMPARE(pool.documentHash, std::optional<QString>(digest));
        QCOMPARE(pool.source, FD::technicianSource().toString(QUrl::FullyEncoded));
        QCOMPARE(pool.topics, (QMap<QString, QString>{{"T1", "COMMISSION’S RULES"}}));
        QCOMPARE(pool.questions.size(), 350);
        const Question& first = pool.questions.first();
        QCOMPARE(first.group, QStringLiteral("T1A"));
        QCOMPARE(first.prompt, QStringLiteral("What is T1A01?"));
        QCOMPARE(first.answers,
                 (QStringList{"Answer A of T1A01", "Answer B of T1A01", "Answer C of T1A01", "Answer D of T1A01"}));
        QCOMPARE(first.figure, std::nullopt);
        QCOMPARE(pool.questions.last().id, QStringLiteral("T2I10"));
        QVERIFY(parse(data, FD::technicianSource(), QStringLiteral("technician")) == pack); // the same every time
    }

    void fileNameAndLevelGiveThePeriodAndConstants_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("expected"); // name, exam and pass counts, period, revision; or the failure
        QTest::newRow("technician") << u"technician"_s << u"2026-2030 Tech Pool Feb 19 2026.docx"_s
                                    << u"Technician 35 26 2026-07-01 2030-07-01 2026-02-19"_s;
        QTest::newRow("general") << u"general"_s << u"General Pool 2023-2027 Errata Feb 4 2026.docx"_s
                                 << u"General 35 26 2023-07-01 2027-07-01 2026-02-04"_s;
        QTest::newRow("extra") << u"extra"_s << u"2024-2028 Extra Pool Errata Feb 4 2026.docx"_s
                               << u"Amateur Extra 50 37 2024-07-01 2028-07-01 2026-02-04"_s;
        QTest::newRow("en dash") << u"technician"_s << u"2022–2026 Tech Pool Errata March 7 2022.docx"_s
                                 << u"Technician 35 26 2022-07-01 2026-07-01 2022-03-07"_s;
        QTest::newRow("five years") << u"technician"_s << u"2022-2027 Tech Pool March 7 2022.docx"_s << u"format"_s;
        QTest::newRow("no period") << u"technician"_s << u"Tech Pool March 7 2022.docx"_s << u"format"_s;
        QTest::newRow("no revision date") << u"technician"_s << u"2022-2026 Tech Pool.docx"_s << u"format"_s;
    }
    void fileNameAndLevelGiveThePeriodAndConstants()
    {
        QFETCH(QString, level);
        QFETCH(QString, fileName);
        QFETCH(QString, expected);
        Pool p;
        const QString failure = outcome([&] { p = parseLines(FD::poolLines(level), level, FD::source(fileName)); });
        if (failure.isEmpty()) {
            QCOMPARE(p.groups().size(), p.examCount);
            QVERIFY(p.id.startsWith(level + QLatin1Char('-')));
        }
        const QString got =
            QStringList{
                p.name,    QString::number(p.examCount), QString::number(p.passCount), p.validFrom, p.validUntil,
                p.revision}
                .join(QLatin1Char(' '));
        QCOMPARE(failure.isEmpty() ? got : failure, expected);
    }

    void badQuestionsAndPoolsFail_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("failure");
        const QStringList lines = FD::poolLines(QStringLiteral("technician"));
        QTest::newRow("B) instead of B.") << edited(lines, "T1B03", 3, "B) Answer B") << u"technician"_s << u"format"_s;
        QStringList swapped = lines;
        swapped.swapItemsAt(FD::questionLine(lines, "T1C04") + 3, FD::questionLine(lines, "T1C04") + 4);
        QTest::newRow("A C B D") << swapped << u"technician"_s << u"format"_s;
        QStringList fifth = lines;
        fifth.insert(FD::questionLine(lines, "T1D05") + 6, "D. A second D");
        QTest::newRow("five answers") << fifth << u"technician"_s << u"format"_s;
        QTest::newRow("no answer letter")
            << edited(lines, "T1A01", 0, "T1A01 [97.1]") << u"technician"_s << u"format"_s;
        QTest::newRow("extra questions as technician") << FD::poolLines("extra") << u"technician"_s << u"invalid"_s;
        QTest::newRow("empty answer") << edited(lines, "T1A02", 2, "A.") << u"technician"_s << u"invalid"_s;
        QTest::newRow("too few questions") << FD::poolLines("technician", 9) << u"technician"_s << u"invalid"_s;
        QTest::newRow("duplicate id") << edited(lines, "T1A03", 0, "T1A02 (A) [97.3]") << u"technician"_s
                                      << u"invalid"_s;
    }
    void badQuestionsAndPoolsFail()
    {
        QFETCH(QStringList, lines);
        QFETCH(QString, level);
        QFETCH(QString, failure);
        QCOMPARE(outcome([&] { parseLines(lines, level); }), failure);
    }

    void identifierLineGivesKeyAndReference_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<qint64>("correct");
        QTest::addColumn<QString>("reference");
        QTest::newRow("with reference") << u"T1A01 (C) [97.1]"_s << qint64(2) << u"[97.1]"_s;
        QTest::newRow("without reference") << u"T1A01 (C)"_s << qint64(2) << u""_s;
        QTest::newRow("blanks and tabs trimmed")
            << u"T1A01 (A) \t [97.3(a)(4)] \u00a0"_s << qint64(0) << u"[97.3(a)(4)]"_s;
        QTest::newRow("no blank before the key") << u"T1A01(D)"_s << qint64(3) << u""_s;
    }
    void identifierLineGivesKeyAndReference()
    {
        QFETCH(QString, line);
        QFETCH(qint64, correct);
        QFETCH(QString, reference);
        const Question q = parseLines(edited(FD::poolLines("technician"), "T1A01", 0, line)).questions.first();
        QCOMPARE(q.id, QStringLiteral("T1A01"));
        QCOMPARE(q.correct, correct);
        QCOMPARE(q.reference, reference);
    }

    void linesAroundTheQuestionsAreReadRightly()
    {
        QStringList lines = FD::poolLines("technician");
        const qsizetype at = FD::questionLine(lines, "T1A05");
        lines[at + 1] = "  First line of the prompt";
        lines.insert(at + 2, "second line  ");
        lines[at + 3] = "A.   spaced answer   ";
        lines.insert(FD::questionLine(lines, "T2A01"), "SUBELEMENT T2: OPERATING PROCEDURES");
        // Headings before the questions; a syllabus line that looks like a question is not searched.
        lines.insert(0, "SUBELEMENT T0 - SAFETY [2 Exam Questions - 2 Groups]");
        lines.insert(0, "SUBELEMENT T1 – OLD TITLE");
        lines.insert(2, "T9Z99 (A) looks like a question");
        lines.insert(3, "A. a");
        lines.insert(4, "~~");
        const Pool pool = parseLines(lines);
        QCOMPARE(pool.questions.size(), 350);
        QCOMPARE(pool.questions.first().id, QStringLiteral("T1A01"));
        QCOMPARE(pool.questions.at(4).prompt, QStringLiteral("First line of the prompt\nsecond line"));
        QCOMPARE(pool.questions.at(4).answers.first(), QStringLiteral("spaced answer"));
        QCOMPARE(pool.topics, (QMap<QString, QString>{
                                  {"T0", "SAFETY"}, {"T1", "COMMISSION’S RULES"}, {"T2", "OPERATING PROCEDURES"}}));
    }
};

AEROWEN_TEST_MAIN(ParseTest, QCoreApplication)
#include "ParseTest.moc"
