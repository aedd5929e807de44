// Builders of pools, packs and files that many tests share.
#pragma once

#include "model/Learner.h"
#include "model/Pack.h"

#include <QJsonObject>
#include <QString>
#include <functional>

namespace Fixtures {

// A valid pool of the level with the given number of groups and questions per group (ids like T1A01).
Pool pool(const QString& level, const QString& id, const QString& validFrom = QStringLiteral("2026-07-01"),
          const QString& revision = QStringLiteral("2026-02-19"), int groups = -1, int perGroup = 10);
// A valid pack holding the given pools.
Pack pack(const QList<Pool>& pools);
// A valid pack with one pool per level.
Pack threeLevelPack();

void writeFile(const QString& path, const QByteArray& bytes);
QByteArray readFile(const QString& path);

// A copy of root with edit applied to the object at path ("results/0/session"; numbers index arrays, empty is root).
QJsonObject editedJson(const QJsonObject& root, const QString& path, const std::function<void(QJsonObject&)>& edit);

// The built-in pack in the source tree.
QString sourcePackPath();

} // namespace Fixtures
