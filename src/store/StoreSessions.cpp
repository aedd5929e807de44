// Store operations on sessions: starting, playing, timing, drafts and finishing.
#include "Store.h"

#include "Names.h"
#include "Results.h"
#include "Review.h"
#include "Seeded.h"
#include "model/Json.h"
#include "model/Memory.h"

#include <QRandomGenerator>

#include <algorithm>

namespace {

// The question on screen, or null when a damaged draft points outside its questions.
const Question* currentQuestion(const Session& s)
{
    if (s.index < 0 || s.index >= s.questions.size())
        return nullptr;
    return &s.questions.at(qsizetype(s.index));
}

// Adds one checked answer, given at the instant, to a learner's statistics of one question of one pool.
void count(QMap<QString, Stat>& stats, const Session& session, const Question& question, qint64 answer,
           Dates::Instant now)
{
    const QString key = statKey(session.profile, session.pool.id, question.id);
    stats.insert(key, Memory::answered(stats.value(key), answer == question.correct, now));
}

// A question left unanswered in an exam was not known: its memory lapses, but no answer is counted. A question the
// learner never met before leaves no record, so that it is not counted as studied.
void forget(QMap<QString, Stat>& stats, const Session& session, const Question& question, Dates::Instant now)
{
    const auto it = stats.find(statKey(session.profile, session.pool.id, question.id));
    if (it == stats.end())
        return;
    Stat lapsed = Memory::answered(*it, false, now);
    lapsed.attempts = it->attempts;
    lapsed.correct = it->correct;
    lapsed.lastCorrect = it->lastCorrect;
    *it = lapsed;
}

} // namespace

void Store::begin(const Pool& pool, const QString& mode, const QString& name, bool shuffle, const QString& challenge,
                  const std::optional<QList<Question>>& subset)
{
    const QString cleanedName = Names::cleanName(name);
    if (cleanedName.isEmpty()) {
        setMessage(QStringLiteral("Enter a name before starting."));
        return;
    }
    const QString code = Names::cleanCode(challenge);
    if (mode == Modes::clubChallenge && code.isEmpty()) {
        setMessage(QStringLiteral("Enter a shared challenge code."));
        return;
    }

    const Profile current = profile();
    QList<Question> list = subset ? *subset : pool.questions;
    if (mode == Modes::weakTopics) {
        const QSet<QString> weak = weakGroups(pool, m_saved.stats, current.id);
        list.removeIf([&](const Question& q) { return !weak.contains(q.group); });
    }
    if (mode == Modes::bookmarks) {
        list.removeIf(
            [&](const Question& q) { return !m_saved.bookmarks.contains(statKey(current.id, pool.id, q.id)); });
    }
    if (mode == Modes::dueForReview) {
        ReviewList review = reviewList(pool, list, m_saved.stats, current.id, now());
        if (shuffle)
            std::shuffle(review.fresh.begin(), review.fresh.end(), *QRandomGenerator::system());
        list = review.due + review.fresh.mid(0, newPerReview);
    } else if (mode == Modes::exam) {
        list = examQuestions(pool, Json::uuidText(QUuid::createUuid()));
    } else if (mode == Modes::clubChallenge) {
        list = examQuestions(pool, code);
    } else if (shuffle) {
        std::shuffle(list.begin(), list.end(), *QRandomGenerator::system());
    }
    if (list.isEmpty()) {
        setMessage(QStringLiteral("No questions match this practice mode yet."));
        return;
    }

    Session s;
    s.id = QUuid::createUuid();
    s.profile = current.id;
    s.name = cleanedName;
    s.pool = pool;
    s.mode = mode;
    s.challenge = mode == Modes::clubChallenge ? code : QString();
    s.questions = list;
    s.index = 0;
    s.started = Dates::now();
    s.elapsed = 0;
    s.eligible = true;

    setSession(std::move(s));
    m_tickStart = m_clock();
    m_baseElapsed = 0;
    setResult(std::nullopt);
    persistDraft();
}

QString Store::key(const Pool& pool, const Question& question) const
{
    return statKey(profile().id, pool.id, question.id);
}

void Store::answer(qint64 choice)
{
    if (!m_session)
        return;
    const Question* q = currentQuestion(*m_session);
    // A checked answer is final.
    if (!q || m_session->revealed.contains(q->id))
        return;
    m_session->answers.insert(q->id, choice);
    emit sessionChanged();
    persistDraft();
}

void Store::reveal()
{
    // Exams are never checked question by question; they are scored once at the end.
    if (!m_session || m_session->isExam())
        return;
    const Question* q = currentQuestion(*m_session);
    if (!q || m_session->revealed.contains(q->id))
        return;
    const auto chosen = m_session->answers.constFind(q->id);
    if (chosen == m_session->answers.constEnd())
        return;
    const QString id = q->id;
    record(*q, *chosen, *m_session);
    m_session->revealed.insert(id);
    emit sessionChanged();
    persistDraft();
}

void Store::record(const Question& question, qint64 answer, const Session& session)
{
    // Statistics go to the session's own learner, who is not necessarily the current one.
    if (session.isGuest())
        return;
    count(m_saved.stats, session, question, answer, now());
    emit savedChanged();
}

void Store::move(qint64 position)
{
    if (!m_session)
        return;
    const qint64 last = std::max<qint64>(0, m_session->questions.size() - 1);
    m_session->index = std::clamp<qint64>(position, 0, last);
    emit sessionChanged();
    persistDraft();
}

void Store::flag()
{
    if (!m_session)
        return;
    const Question* q = currentQuestion(*m_session);
    if (!q)
        return;
    if (m_session->flags.contains(q->id))
        m_session->flags.remove(q->id);
    else
        m_session->flags.insert(q->id);
    emit sessionChanged();
    persistDraft();
}

void Store::toggleBookmark(const Pool& pool, const Question& question)
{
    const QString k = key(pool, question);
    if (m_saved.bookmarks.contains(k))
        m_saved.bookmarks.remove(k);
    else
        m_saved.bookmarks.insert(k);
    emit savedChanged();
    save();
}

double Store::elapsed() const
{
    if (!m_session)
        return 0;
    return m_baseElapsed + (m_clock() - m_tickStart);
}

void Store::persistDraft()
{
    if (!m_session || m_session->isGuest())
        return;
    // Only the stored copy carries the time so far; the session on screen keeps counting from its start.
    Session copy = *m_session;
    copy.elapsed = elapsed();
    m_saved.drafts.removeIf([&](const Session& d) { return d.id == copy.id; });
    m_saved.drafts.append(std::move(copy));
    emit savedChanged();
    save();
}

QList<Session> Store::savedSessions() const
{
    const QUuid id = profile().id;
    QList<Session> list;
    for (const Session& d : m_saved.drafts) {
        if (d.profile == id && !d.isGuest())
            list.append(d);
    }
    return list;
}

void Store::resume(const Session& session)
{
    Session s = session;
    // An exam taken up again was interrupted; it can no longer compete on a board.
    if (s.isExam())
        s.eligible = false;
    m_baseElapsed = s.elapsed;
    m_tickStart = m_clock();
    setSession(std::move(s));
    setResult(std::nullopt);
}

void Store::leave()
{
    if (!m_session)
        return;
    if (m_session->isExam())
        m_session->eligible = false;
    persistDraft();
    setSession(std::nullopt);
}

void Store::deleteSession(const QUuid& id)
{
    const QUuid owner = profile().id;
    m_saved.drafts.removeIf([&](const Session& d) { return d.id == id && d.profile == owner; });
    emit savedChanged();
    save();
}

void Store::finish()
{
    if (!m_session)
        return;
    Session s = *m_session;
    s.elapsed = elapsed();
    if (!s.isGuest()) {
        const Dates::Instant at = now();
        for (const Question& q : std::as_const(s.questions)) {
            // A revealed answer was counted when it was checked; an unanswered question counts nothing.
            if (s.revealed.contains(q.id))
                continue;
            const auto chosen = s.answers.constFind(q.id);
            if (chosen != s.answers.constEnd())
                count(m_saved.stats, s, q, *chosen, at);
            else if (s.isExam())
                forget(m_saved.stats, s, q, at);
        }
    }
    Result r;
    r.id = QUuid::createUuid();
    r.session = s;
    r.finished = Dates::now();
    r.seconds = s.elapsed;
    if (!s.isGuest())
        m_saved.results.append(r);
    m_saved.drafts.removeIf([&](const Session& d) { return d.id == s.id; });
    emit savedChanged();
    setResult(r);
    setSession(std::nullopt);
    save();
}
