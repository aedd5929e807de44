// Parsing pool text: periods, questions, answers, references, figures in prompts, topics and validation.
#include "support/FixtureDocuments.h"
#include "support/TestEnvironment.h"
#include "updater/OfficialUpdates.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QTest>

using namespace OfficialUpdates;
namespace FD = FixtureDocuments;

class TestParse : public QObject
{
    Q_OBJECT

private:
    QStringList m_before;

    static Pack parseLines(const QStringList& lines, const QString& level = QStringLiteral("technician"),
                           const QUrl& source = FD::technicianSource())
    {
        return parse(FD::document(lines), source, level);
    }

    // Replaces the line of question id at offset (0 = identifier line, 1 = prompt, 2..5 = answers).
    static QStringList edited(QStringList lines, const QString& id, int offset, const QString& text)
    {
        lines[FD::questionLine(lines, id) + offset] = text;
        return lines;
    }

private slots:
    void initTestCase() { FixtureDocuments::isolateTemporaryFolder(); }
    void init() { m_before = FD::leftoverDocuments(); }
    void cleanup() { QCOMPARE(FD::leftoverDocuments(), m_before); }

    void validDocumentGivesOneValidatedPool()
    {
        const QByteArray data = FD::document(FD::poolLines(QStringLiteral("technician")));
        const Pack pack = parse(data, FD::technicianSource(), QStringLiteral("technician"));
        QCOMPARE(pack.schema, 1);
        QCOMPARE(pack.pools.size(), 1);
        QVERIFY(pack.assets.isEmpty());
        const Pool& pool = pack.pools.first();
        const QString digest = QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex());
        QCOMPARE(pool.id, QStringLiteral("technician-2026-2026-02-19-") + digest.left(8));
        QCOMPARE(pool.level, QStringLiteral("technician"));
        QCOMPARE(pool.name, QStringLiteral("Technician"));
        QCOMPARE(pool.validFrom, QStringLiteral("2026-07-01"));
        QCOMPARE(pool.validUntil, QStringLiteral("2030-07-01"));
        QCOMPARE(pool.revision, QStringLiteral("2026-02-19"));
        QCOMPARE(pool.documentHash, std::optional<QString>(digest));
        QCOMPARE(pool.examCount, 35);
        QCOMPARE(pool.passCount, 26);
        QCOMPARE(pool.source, FD::technicianSource().toString(QUrl::FullyEncoded));
        QCOMPARE(pool.topics, (QMap<QString, QString>{{"T1", "COMMISSION’S RULES"}}));
        QCOMPARE(pool.questions.size(), 350);
        const Question& first = pool.questions.first();
        QCOMPARE(first.id, QStringLiteral("T1A01"));
        QCOMPARE(first.group, QStringLiteral("T1A"));
        QCOMPARE(first.prompt, QStringLiteral("What is T1A01?"));
        QCOMPARE(first.answers,
                 (QStringList{"Answer A of T1A01", "Answer B of T1A01", "Answer C of T1A01", "Answer D of T1A01"}));
        QCOMPARE(first.correct, 1);
        QCOMPARE(first.reference, QStringLiteral("[97.1]"));
        QCOMPARE(first.figure, std::nullopt);
        QCOMPARE(pool.questions.last().id, QStringLiteral("T2I10"));
    }

    void levelConstantsFollowTheLevel_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("name");
        QTest::addColumn<qint64>("examCount");
        QTest::addColumn<qint64>("passCount");
        QTest::newRow("general") << "general"
                                 << "General Pool 2023-2027 Errata Feb 4 2026.docx"
                                 << "General" << qint64(35) << qint64(26);
        QTest::newRow("extra") << "extra"
                               << "2024-2028 Extra Pool Errata Feb 4 2026.docx"
                               << "Amateur Extra" << qint64(50) << qint64(37);
    }
    void levelConstantsFollowTheLevel()
    {
        QFETCH(QString, level);
        QFETCH(QString, fileName);
        QFETCH(QString, name);
        QFETCH(qint64, examCount);
        QFETCH(qint64, passCount);
        const Pool pool = parseLines(FD::poolLines(level), level, FD::source(fileName)).pools.first();
        QCOMPARE(pool.name, name);
        QCOMPARE(pool.examCount, examCount);
        QCOMPARE(pool.passCount, passCount);
        QCOMPARE(pool.groups().size(), examCount);
        QVERIFY(pool.id.startsWith(level + QLatin1Char('-')));
    }

    void periodAndRevisionComeFromTheFileName_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("validFrom"); // empty: fails with format
        QTest::addColumn<QString>("validUntil");
        QTest::newRow("hyphen") << "2022-2026 Technician Pool Errata March 7 2022.docx"
                                << "2022-07-01"
                                << "2026-07-01";
        QTest::newRow("en dash") << "2022–2026 Technician Pool Errata March 7 2022.docx"
                                 << "2022-07-01"
                                 << "2026-07-01";
        QTest::newRow("five years") << "2022-2027 Technician Pool March 7 2022.docx"
                                    << ""
                                    << "";
        QTest::newRow("no period") << "Technician Pool March 7 2022.docx"
                                   << ""
                                   << "";
        QTest::newRow("no revision date") << "2022-2026 Technician Pool.docx"
                                          << ""
                                          << "";
    }
    void periodAndRevisionComeFromTheFileName()
    {
        QFETCH(QString, fileName);
        QFETCH(QString, validFrom);
        QFETCH(QString, validUntil);
        const QStringList lines = FD::poolLines(QStringLiteral("technician"));
        if (validFrom.isEmpty()) {
            QVERIFY_THROWS_EXCEPTION(UpdateError,
                                     parseLines(lines, QStringLiteral("technician"), FD::source(fileName)));
            return;
        }
        const Pool pool = parseLines(lines, QStringLiteral("technician"), FD::source(fileName)).pools.first();
        QCOMPARE(pool.validFrom, validFrom);
        QCOMPARE(pool.validUntil, validUntil);
        QCOMPARE(pool.revision, QStringLiteral("2022-03-07"));
    }

    void malformedQuestionsFailWithFormat_data()
    {
        QTest::addColumn<QStringList>("lines");
        const QStringList lines = FD::poolLines(QStringLiteral("technician"));
        QTest::newRow("B) instead of B.") << edited(lines, "T1B03", 3, "B) Answer B");
        QStringList swapped = lines;
        swapped.swapItemsAt(FD::questionLine(lines, "T1C04") + 3, FD::questionLine(lines, "T1C04") + 4);
        QTest::newRow("A C B D") << swapped;
        QStringList fifth = lines;
        fifth.insert(FD::questionLine(lines, "T1D05") + 6, "D. A second D");
        QTest::newRow("five answers") << fifth;
        QStringList noFirst = lines;
        noFirst[FD::questionLine(lines, "T1A01")] = "T1A01 [97.1]";
        QTest::newRow("first question without answer letter") << noFirst;
    }
    void malformedQuestionsFailWithFormat()
    {
        QFETCH(QStringList, lines);
        try {
            parseLines(lines);
            QFAIL("parsed");
        } catch (const UpdateError& error) {
            QCOMPARE(error.which(), UpdateError::format);
        }
    }

    void invalidPoolsFailValidation_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("level");
        QTest::newRow("extra questions as technician") << FD::poolLines("extra") << "technician";
        QStringList empty = FD::poolLines("technician");
        empty[FD::questionLine(empty, "T1A02") + 2] = "A.";
        QTest::newRow("empty answer") << empty << "technician";
        QTest::newRow("too few questions") << FD::poolLines("technician", 9) << "technician";
        QStringList duplicate = FD::poolLines("technician");
        duplicate[FD::questionLine(duplicate, "T1A03")] = "T1A02 (A) [97.3]";
        QTest::newRow("duplicate id") << duplicate << "technician";
    }
    void invalidPoolsFailValidation()
    {
        QFETCH(QStringList, lines);
        QFETCH(QString, level);
        QVERIFY_THROWS_EXCEPTION(DataError, parseLines(lines, level));
    }

    void identifierLineGivesKeyAndReference_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<qint64>("correct");
        QTest::addColumn<QString>("reference");
        QTest::newRow("with reference") << "T1A01 (C) [97.1]" << qint64(2) << "[97.1]";
        QTest::newRow("without reference") << "T1A01 (C)" << qint64(2) << "";
        QTest::newRow("blanks and tabs trimmed") << "T1A01 (A) \t [97.3(a)(4)] \u00a0" << qint64(0) << "[97.3(a)(4)]";
        QTest::newRow("no blank before the key") << "T1A01(D)" << qint64(3) << "";
    }
    void identifierLineGivesKeyAndReference()
    {
        QFETCH(QString, line);
        QFETCH(qint64, correct);
        QFETCH(QString, reference);
        const Question q =
            parseLines(edited(FD::poolLines("technician"), "T1A01", 0, line)).pools.first().questions.first();
        QCOMPARE(q.id, QStringLiteral("T1A01"));
        QCOMPARE(q.correct, correct);
        QCOMPARE(q.reference, reference);
    }

    void multiLinePromptsAndAnswersAreTrimmed()
    {
        QStringList lines = FD::poolLines("technician");
        const qsizetype at = FD::questionLine(lines, "T1A05");
        lines[at + 1] = "  First line of the prompt";
        lines.insert(at + 2, "second line  ");
        lines[at + 3] = "A.   spaced answer   ";
        const Question q = parseLines(lines).pools.first().questions.at(4);
        QCOMPARE(q.prompt, QStringLiteral("First line of the prompt\nsecond line"));
        QCOMPARE(q.answers.first(), QStringLiteral("spaced answer"));
    }

    void textBeforeTheFirstQuestionIsNotSearched()
    {
        QStringList lines = FD::poolLines("technician");
        // A syllabus line that looks like a question but comes before T1A01.
        lines.insert(1, "T9Z99 (A) looks like a question");
        lines.insert(2, "A. a");
        lines.insert(3, "~~");
        const Pool pool = parseLines(lines).pools.first();
        QCOMPARE(pool.questions.size(), 350);
        QCOMPARE(pool.questions.first().id, QStringLiteral("T1A01"));
    }

    void topicsComeFromSubelementHeadings()
    {
        QStringList lines = FD::poolLines("technician");
        lines.insert(0, "SUBELEMENT T0 - SAFETY [2 Exam Questions - 2 Groups]");
        lines.insert(0, "SUBELEMENT T1 – OLD TITLE");
        lines.insert(FD::questionLine(lines, "T2A01"), "SUBELEMENT T2: OPERATING PROCEDURES");
        const Pool pool = parseLines(lines).pools.first();
        QCOMPARE(pool.topics, (QMap<QString, QString>{
                                  {"T0", "SAFETY"}, {"T1", "COMMISSION’S RULES"}, {"T2", "OPERATING PROCEDURES"}}));
    }

    void figureMentionsInPromptsOnlyNeedFigures()
    {
        QStringList lines = FD::poolLines("technician");
        lines = edited(lines, "T1A02", 5, "D. As shown in Figure T-2");
        // Only an answer mentions a figure: no figure needed, so no review and no asset.
        const Pack pack = parseLines(lines);
        QCOMPARE(pack.pools.first().questions.at(1).figure, std::nullopt);

        lines = edited(lines, "T1A03", 1, "What is component 1 in figure t-1?");
        const QByteArray image = FD::png(0xff0000);
        const QByteArray data = FD::document(lines, {{QStringLiteral("media/image1.png"), image}});
        const Pack withFigure = parse(data, FD::technicianSource(), QStringLiteral("technician"), {},
                                      [](const QByteArray&) { return QStringList{QStringLiteral("t-1")}; });
        const QString name = *withFigure.pools.first().questions.at(2).figure;
        QVERIFY2(QRegularExpression(QStringLiteral("^technician-2026-T1-[0-9a-f]{16}\\.png$")).match(name).hasMatch(),
                 qPrintable(name));
        QCOMPARE(withFigure.assets.value(name), QString::fromLatin1(image.toBase64()));
        QCOMPARE(withFigure.pools.first().questions.at(1).figure, std::nullopt);
    }

    void sameDocumentTwiceGivesEqualPools()
    {
        const QByteArray data = FD::document(FD::poolLines("technician"));
        const Pack a = parse(data, FD::technicianSource(), QStringLiteral("technician"));
        const Pack b = parse(data, FD::technicianSource(), QStringLiteral("technician"));
        QCOMPARE(a.pools.first().id, b.pools.first().id);
        QCOMPARE(a.pools.first().documentHash, b.pools.first().documentHash);
        QVERIFY(a == b);
    }
};

AEROWEN_TEST_MAIN(TestParse, QCoreApplication)
#include "tst_Parse.moc"
