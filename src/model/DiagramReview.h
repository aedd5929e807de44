// Figure review records: a pending learner review of an official document, and the confirmed crops.
#pragma once

#include "Pack.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <optional>

struct DiagramReview
{
    std::optional<bool> isDemo;
    QByteArray document;
    QString source;
    QString level;
    QString documentKey;
    QList<QByteArray> images;
    QStringList labels;
    // Each question's figure holds the label it mentions, not an asset file name.
    QList<Question> questions;

    bool operator==(const DiagramReview&) const = default;
    static DiagramReview fromJson(const QJsonObject& o);
    static DiagramReview fromBytes(const QByteArray& bytes);
    QJsonObject toJson() const;
    QByteArray toBytes() const;
};

// Document digest → figure label → Base64 PNG crop.
using Corrections = QMap<QString, QMap<QString, QString>>;

namespace CorrectionsJson {
Corrections fromBytes(const QByteArray& bytes);
QByteArray toBytes(const Corrections& corrections);
} // namespace CorrectionsJson
