// The progress file's cached encoder must always write exactly what a plain encoding of the state would read back.
#include "store/Seeded.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

namespace {

Session draftOf(const Pool& pool, const QUuid& profile)
{
    Session s;
    s.id = QUuid::createUuid();
    s.profile = profile;
    s.name = QStringLiteral("Anna");
    s.pool = pool;
    s.mode = QStringLiteral("Study All");
    s.questions = pool.questions.mid(0, 20);
    return s;
}

Result resultOf(const Session& s)
{
    return Result{QUuid::createUuid(), s, 12.5, 300};
}

} // namespace

class TestProgressEncoder : public QObject
{
    Q_OBJECT

private slots:
    void reencodingFollowsEveryChange_data()
    {
        QTest::addColumn<QString>("change");
        for (const char* change :
             {"answer in draft", "pool edited in draft", "questions reordered", "stat in place", "stat added",
              "result appended", "draft replaced", "draft removed", "tricky names", "bookmark", "selected cleared"})
            QTest::newRow(change) << QString::fromLatin1(change);
    }
    void reencodingFollowsEveryChange()
    {
        QFETCH(QString, change);
        const Pool pool = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-2026"));
        Saved saved = Saved::initial();
        const Profile anna{QUuid::createUuid(), QStringLiteral("Anna"), QSet<QString>()};
        saved.profiles.append(anna);
        saved.selected = anna.id;
        saved.drafts.append(draftOf(pool, anna.id));
        saved.drafts.append(draftOf(pool, anna.id));
        saved.results.append(resultOf(saved.drafts.first()));
        saved.stats.insert(statKey(anna.id, pool.id, QStringLiteral("T1A01")), Stat{2, 1, true});

        ProgressEncoder encoder;
        QCOMPARE(Saved::fromBytes(encoder.encode(saved)), saved);

        // Changes made in place, the way the store makes them, with the encoder still holding its copies.
        if (change == QLatin1StringView("answer in draft"))
            saved.drafts.last().answers.insert(QStringLiteral("T1A01"), 2);
        else if (change == QLatin1StringView("pool edited in draft"))
            saved.drafts.last().pool.questions[3].prompt = QStringLiteral("Changed “prompt” \\ with \"quotes\"");
        else if (change == QLatin1StringView("questions reordered"))
            saved.drafts.first().questions.swapItemsAt(0, 1);
        else if (change == QLatin1StringView("stat in place"))
            saved.stats.first().attempts += 1;
        else if (change == QLatin1StringView("stat added"))
            saved.stats.insert(statKey(anna.id, pool.id, QStringLiteral("T1A02")), Stat{1, 0, false});
        else if (change == QLatin1StringView("result appended"))
            saved.results.append(resultOf(saved.drafts.last()));
        else if (change == QLatin1StringView("draft replaced")) {
            Session moved = saved.drafts.takeFirst();
            moved.index = 5;
            saved.drafts.append(moved);
        } else if (change == QLatin1StringView("draft removed"))
            saved.drafts.clear();
        else if (change == QLatin1StringView("tricky names")) {
            // Texts that look like the encoder's placeholders must stay inside their strings.
            saved.profiles[1].name = QStringLiteral("\"stats\":{} \"drafts\":[] \"pool\":{}");
            saved.drafts.first().name = QStringLiteral("\"questions\":[] \"results\":[]");
            saved.drafts.first().flags.insert(QStringLiteral("\"pool\":{}"));
        } else if (change == QLatin1StringView("bookmark"))
            saved.bookmarks.insert(statKey(anna.id, pool.id, QStringLiteral("T1A05")));
        else if (change == QLatin1StringView("selected cleared"))
            saved.selected.reset();

        const QByteArray bytes = encoder.encode(saved);
        QCOMPARE(Saved::fromBytes(bytes), saved);
        QCOMPARE(bytes.contains("\"selected\""), saved.selected.has_value());
        // A second encoding of the unchanged state gives the same bytes.
        QCOMPARE(encoder.encode(saved), bytes);
    }
};

AEROWEN_TEST_MAIN(TestProgressEncoder, QCoreApplication)
#include "TestProgressEncoder.moc"
