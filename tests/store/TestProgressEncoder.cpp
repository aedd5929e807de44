// The progress file's cached encoder must always write exactly what a plain encoding of the state would read back.
#include "store/Seeded.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

Session draftOf(const Pool& pool, const QUuid& profile)
{
    Session s;
    s.id = QUuid::createUuid();
    s.profile = profile;
    s.name = u"Anna"_s;
    s.pool = pool;
    s.mode = u"Study All"_s;
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
        for (const char* change : {"answer in draft", "pool edited in draft", "questions reordered", "stat in place",
                                   "stat added", "result appended", "result removed", "draft replaced", "draft removed",
                                   "tricky names", "bookmark", "selected cleared"})
            QTest::newRow(change) << QString::fromLatin1(change);
    }
    void reencodingFollowsEveryChange()
    {
        QFETCH(QString, change);
        const Pool pool = Fixtures::pool(u"technician"_s, u"tech-2026"_s);
        Saved saved = Saved::initial();
        const Profile anna{QUuid::createUuid(), u"Anna"_s, QSet<QString>()};
        saved.profiles.append(anna);
        saved.selected = anna.id;
        saved.drafts.append(draftOf(pool, anna.id));
        saved.drafts.append(draftOf(pool, anna.id));
        saved.results.append(resultOf(saved.drafts.first()));
        saved.stats.insert(statKey(anna.id, pool.id, u"T1A01"_s), Stat{2, 1, true});

        ProgressEncoder encoder;
        QCOMPARE(Saved::fromBytes(encoder.encode(saved)), saved);

        // Changes made in place, the way the store makes them, with the encoder still holding its copies.
        if (change == "answer in draft"_L1)
            saved.drafts.last().answers.insert(u"T1A01"_s, 2);
        else if (change == "pool edited in draft"_L1)
            saved.drafts.last().pool.questions[3].prompt = u"Changed “prompt” \\ with \"quotes\""_s;
        else if (change == "questions reordered"_L1)
            saved.drafts.first().questions.swapItemsAt(0, 1);
        else if (change == "stat in place"_L1)
            saved.stats.first().attempts += 1;
        else if (change == "stat added"_L1)
            saved.stats.insert(statKey(anna.id, pool.id, u"T1A02"_s), Stat{1, 0, false});
        else if (change == "result appended"_L1)
            saved.results.append(resultOf(saved.drafts.last()));
        else if (change == "result removed"_L1) {
            // Both results cached, then the first dropped: the second must stay where it was.
            saved.results.append(resultOf(saved.drafts.last()));
            encoder.encode(saved);
            saved.results.removeFirst();
        } else if (change == "draft replaced"_L1) {
            Session moved = saved.drafts.takeFirst();
            moved.index = 5;
            saved.drafts.append(moved);
        } else if (change == "draft removed"_L1)
            saved.drafts.clear();
        else if (change == "tricky names"_L1) {
            // Texts that look like the encoder's placeholders must stay inside their strings.
            saved.profiles[1].name = u"\"stats\":{} \"drafts\":[] \"pool\":{}"_s;
            saved.drafts.first().name = u"\"questions\":[] \"results\":[]"_s;
            saved.drafts.first().flags.insert(u"\"pool\":{}"_s);
        } else if (change == "bookmark"_L1)
            saved.bookmarks.insert(statKey(anna.id, pool.id, u"T1A05"_s));
        else if (change == "selected cleared"_L1)
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
