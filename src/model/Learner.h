// Learner records: profiles, per-question statistics, sessions, results and the whole saved state.
#pragma once

#include "Dates.h"
#include "Pack.h"

#include <QMap>
#include <QSet>
#include <QUuid>
#include <optional>

class PoolCopies;

struct Profile
{
    QUuid id;
    QString name;
    std::optional<QSet<QString>> completedLevels;

    bool operator==(const Profile&) const = default;
    static Profile fromJson(const QJsonObject& o);
    QJsonObject toJson() const;
};

struct Stat
{
    qint64 attempts = 0;
    qint64 correct = 0;
    bool lastCorrect = false;
    // The memory state of spaced review (Memory.h), absent until the first answer recorded by this version.
    std::optional<double> stability = std::nullopt; // days
    std::optional<double> difficulty = std::nullopt;
    std::optional<Dates::Instant> reviewed = std::nullopt;
    std::optional<Dates::Instant> due = std::nullopt;

    bool operator==(const Stat&) const = default;
    static Stat fromJson(const QJsonObject& o);
    QJsonObject toJson() const;
};

struct Session
{
    QUuid id;
    QUuid profile;
    QString name;
    Pool pool;
    QString mode;
    QString challenge;
    QList<Question> questions;
    QMap<QString, qint64> answers;
    QSet<QString> flags;
    QSet<QString> revealed;
    qint64 index = 0;
    Dates::Instant started = 0;
    double elapsed = 0;
    bool eligible = true;

    bool operator==(const Session&) const = default;
    // With copies, a pool placeholder that copies wrote stands for the pool it names (Saved::fromBytes).
    static Session fromJson(const QJsonObject& o, const PoolCopies* copies = nullptr);
    QJsonObject toJson() const;

    // A Guest's attempt leaves no trace: its name is empty or "Guest" in any letter case.
    bool isGuest() const;
    bool isExam() const;
    qint64 score() const;
};

struct Result
{
    QUuid id;
    Session session;
    Dates::Instant finished = 0;
    double seconds = 0;

    bool operator==(const Result&) const = default;
    static Result fromJson(const QJsonObject& o, const PoolCopies* copies = nullptr);
    QJsonObject toJson() const;

    qint64 score() const { return session.score(); }
    bool passed() const { return score() >= session.pool.passCount; }
    // A complete exam, taken without interruption, by a named learner.
    bool eligible() const;
};

struct Saved
{
    QList<Profile> profiles;
    std::optional<QUuid> selected;
    QMap<QString, Stat> stats;
    QSet<QString> bookmarks;
    QList<Session> drafts;
    QList<Result> results;

    bool operator==(const Saved&) const = default;
    static Saved fromJson(const QJsonObject& o, const PoolCopies* copies = nullptr);
    static Saved fromBytes(const QByteArray& bytes);
    QJsonObject toJson() const;
    QByteArray toBytes() const;

    // One Guest profile with a fresh identifier and nothing else.
    static Saved initial();
};

namespace Modes {
inline const QString studyAll = QStringLiteral("Study All");
inline const QString exam = QStringLiteral("Exam");
inline const QString weakTopics = QStringLiteral("Weak Topics");
inline const QString bookmarks = QStringLiteral("Bookmarks");
inline const QString clubChallenge = QStringLiteral("Club Challenge");
inline const QString mistakes = QStringLiteral("Mistakes");
inline const QString dueForReview = QStringLiteral("Due for Review");
} // namespace Modes

inline const QString guestName = QStringLiteral("Guest");

// Trims white space and line breaks at both ends (Unicode-aware).
QString trimmedName(const QString& name);
bool isGuestName(const QString& name);
