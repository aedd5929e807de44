// The question search of the Browse screen.
#include "Browse.h"

#include "Seeded.h"

#include <QRegularExpression>
#include <QSet>

QString searchForm(const QString& text)
{
    const QString decomposed = text.normalized(QString::NormalizationForm_KD);
    QString form;
    form.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        switch (c.category()) {
        case QChar::Mark_NonSpacing:
        case QChar::Mark_SpacingCombining:
        case QChar::Mark_Enclosing:
            continue;
        default:
            break;
        }
        switch (c.unicode()) {
        case u'\u2018':
        case u'\u2019':
            form.append(QLatin1Char('\''));
            break;
        case u'\u201C':
        case u'\u201D':
            form.append(QLatin1Char('"'));
            break;
        case u'\u2010':
        case u'\u2011':
        case u'\u2012':
        case u'\u2013':
        case u'\u2014':
        case u'\u2212':
            form.append(QLatin1Char('-'));
            break;
        default:
            form.append(c);
        }
    }
    return form.toCaseFolded();
}

PoolSearch::PoolSearch(const Pool& pool) : m_pool(pool)
{
    m_ids.reserve(pool.questions.size());
    m_texts.reserve(pool.questions.size());
    for (const Question& q : pool.questions) {
        m_ids.append(searchForm(q.id));
        // A line break between the parts keeps a typed word from matching across the prompt and an answer.
        m_texts.append(searchForm(q.prompt + QLatin1Char('\n') + q.answers.join(QLatin1Char('\n'))));
    }
}

QList<Question> PoolSearch::find(const QuestionFilter& filter, const Saved& saved, const QUuid& profile) const
{
    static const QRegularExpression blanks(QStringLiteral("\\s+"), QRegularExpression::UseUnicodePropertiesOption);
    const QStringList words = searchForm(filter.text).split(blanks, Qt::SkipEmptyParts);
    const bool byLearner = filter.bookmarkedOnly || filter.missedBefore;
    QList<Question> found;
    for (qsizetype i = 0; i < m_pool.questions.size(); ++i) {
        const Question& q = m_pool.questions.at(i);
        if (!filter.subelement.isEmpty() && !q.group.startsWith(filter.subelement))
            continue;
        const bool matches = std::all_of(words.cbegin(), words.cend(), [&](const QString& word) {
            return m_ids.at(i).startsWith(word) || m_texts.at(i).contains(word);
        });
        if (!matches)
            continue;
        if (byLearner) {
            const QString key = statKey(profile, m_pool.id, q.id);
            if (filter.bookmarkedOnly && !saved.bookmarks.contains(key))
                continue;
            if (filter.missedBefore && !missedBefore(saved.stats.value(key)))
                continue;
        }
        found.append(q);
    }
    return found;
}

QStringList subelements(const Pool& pool)
{
    QStringList list;
    QSet<QString> seen;
    for (const Question& q : pool.questions) {
        const QString code = q.group.left(2);
        if (!seen.contains(code)) {
            seen.insert(code);
            list.append(code);
        }
    }
    return list;
}

bool missedBefore(const Stat& stat)
{
    return stat.correct < stat.attempts;
}

QString recordText(const std::optional<Stat>& stat)
{
    if (!stat || stat->attempts == 0)
        return QStringLiteral("Not studied");
    return QStringLiteral("%1 of %2 right · last ").arg(stat->correct).arg(stat->attempts) +
           (stat->lastCorrect ? QStringLiteral("right") : QStringLiteral("wrong"));
}
