// Export and print texts of a result.
#include "ResultText.h"

#include "Results.h"

#include <QLocale>

namespace {

const QString unanswered = QStringLiteral("Unanswered");

// An index from a damaged progress file may lie outside the answers; it must never index the list.
QString answerAt(const Question& q, qint64 index, const QString& otherwise)
{
    if (index < 0 || index >= q.answers.size())
        return otherwise;
    return q.answers.at(qsizetype(index));
}

QString correctText(const Question& q)
{
    return answerAt(q, q.correct, QStringLiteral("Not available"));
}

QString chosenText(const Session& s, const Question& q)
{
    const auto it = s.answers.constFind(q.id);
    return it == s.answers.constEnd() ? unanswered : answerAt(q, *it, unanswered);
}

QString scoreText(const Result& r)
{
    return QString::number(r.score()) + QLatin1Char('/') + QString::number(r.session.questions.size());
}

} // namespace

QString resultExportText(const Result& result)
{
    const Session& s = result.session;
    QString text = QStringLiteral("Kestovan Aerowen\n") + s.name + QStringLiteral(" — ") + s.pool.name +
                   QLatin1Char('\n') + s.mode + QStringLiteral(" · Pool ") + s.pool.id + QLatin1Char('\n') +
                   QLocale::system().toString(Dates::toDateTime(result.finished).toLocalTime(), QLocale::ShortFormat) +
                   QStringLiteral("\nScore: ") + scoreText(result) + QStringLiteral(" · Time: ") +
                   duration(result.seconds) + QStringLiteral("\nPractice result, not a licensing examination.\n\n");
    for (const Question& q : s.questions) {
        text += q.id + QStringLiteral(": ") + q.prompt + QStringLiteral("\nYour answer: ") + chosenText(s, q) +
                QStringLiteral("\nCorrect answer: ") + correctText(q) + QStringLiteral("\n\n");
    }
    return text;
}

QString resultPrintText(const Result& result)
{
    const Session& s = result.session;
    QString text = QStringLiteral("Kestovan Aerowen — Practice Result\n") + s.name + QStringLiteral(" · ") +
                   s.pool.name + QStringLiteral("\nScore ") + scoreText(result) + QStringLiteral(" · ") +
                   duration(result.seconds) + QStringLiteral("\nPool ") + s.pool.id + QStringLiteral("\n\n");
    for (const Question& q : s.questions) {
        const auto it = s.answers.constFind(q.id);
        if (it != s.answers.constEnd() && *it == q.correct)
            continue;
        text += q.id + QStringLiteral(": ") + q.prompt + QStringLiteral("\nYour answer: ") + chosenText(s, q) +
                QStringLiteral("\nCorrect: ") + correctText(q) + QStringLiteral("\n\n");
    }
    return text;
}
