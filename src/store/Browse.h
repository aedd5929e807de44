// Finding questions in a pool: identifier prefixes, words of the prompt and answers, subelement, bookmarks, misses.
#pragma once

#include "model/Learner.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

// Text as the search compares it: compatibility-decomposed with the combining marks dropped (so "é" is "e" and
// "ﬁ" is "fi"), case-folded, and typographic quotes and dashes as their plain forms.
QString searchForm(const QString& text);

// What the learner asked for on the Browse screen.
struct QuestionFilter
{
    QString text;       // as typed: every word must be an identifier prefix or occur in the prompt or an answer
    QString subelement; // "T5", or empty for every subelement
    bool bookmarkedOnly = false;
    bool missedBefore = false;

    bool operator==(const QuestionFilter&) const = default;
};

// A pool prepared for searching: each question's search text is made once here, not on every key press.
class PoolSearch
{
public:
    PoolSearch() = default;
    explicit PoolSearch(const Pool& pool);

    const Pool& pool() const { return m_pool; }
    // The pool's questions that pass every rule of the filter for this learner, in pool order.
    QList<Question> find(const QuestionFilter& filter, const Saved& saved, const QUuid& profile) const;

private:
    Pool m_pool;
    QStringList m_ids;   // identifiers in search form
    QStringList m_texts; // prompt and answers in search form
};

// The subelements of a pool (the first two characters of its groups) in the order the pool lists them: T1 … T9, T0.
QStringList subelements(const Pool& pool);

// A question the learner has answered wrongly at least once.
bool missedBefore(const Stat& stat);

// The learner's record of one question as the result list shows it: "Not studied", or for example
// "2 of 3 right · last wrong".
QString recordText(const std::optional<Stat>& stat);
