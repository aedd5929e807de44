// The pool pack: official questions, pools and their figure assets, with the pack's validation rules.
#pragma once

#include "Dates.h"

#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QStringList>
#include <optional>

struct Question
{
    QString id;
    QString group;
    QString prompt;
    QStringList answers;
    qint64 correct = 0;
    QString reference;
    std::optional<QString> figure;

    bool operator==(const Question&) const = default;
    static Question fromJson(const QJsonObject& o);
    QJsonObject toJson() const;
};

struct Pool
{
    QString id;
    QString level;
    QString name;
    QString validFrom;
    QString validUntil;
    QString revision;
    std::optional<QString> documentHash;
    qint64 examCount = 0;
    qint64 passCount = 0;
    QString source;
    QMap<QString, QString> topics;
    QList<Question> questions;

    bool operator==(const Pool&) const = default;
    static Pool fromJson(const QJsonObject& o);
    QJsonObject toJson() const;

    // In use on the given day: from validFrom up to, not including, validUntil.
    bool current(const QString& on = Dates::today()) const;
    bool upcoming() const;
    // Distinct question groups in ascending text order.
    QStringList groups() const;
};

struct Pack
{
    qint64 schema = 1;
    QList<Pool> pools;
    QMap<QString, QString> assets;

    bool operator==(const Pack&) const = default;
    static Pack fromJson(const QJsonObject& o);
    static Pack fromBytes(const QByteArray& bytes);
    QJsonObject toJson() const;
    QByteArray toBytes() const;

    // Throws DataError::invalid on the first broken rule.
    void validate() const;
};

// Standard Base64 in whole groups of four, padding only at the very end, no line breaks or other characters.
bool isStrictBase64(const QString& text);

// The level letter that every question id of a level starts with; empty for an unknown level.
QString levelLetter(const QString& level);

// The pool a picker shows: the one of that id, else the first in use on the given day, else the first of the list.
std::optional<Pool> chosenPool(const QList<Pool>& pools, const QString& id, const QString& today);
