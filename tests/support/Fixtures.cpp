// Shared test builders.
#include "Fixtures.h"

#include <QFile>
#include <QJsonArray>
#include <QTest>

namespace Fixtures {

Pool pool(const QString& level, const QString& id, const QString& validFrom, const QString& revision, int groups,
          int perGroup)
{
    const bool extra = level == QLatin1StringView("extra");
    Pool p;
    p.id = id;
    p.level = level;
    p.name = extra ? QStringLiteral("Amateur Extra") : level.at(0).toUpper() + level.mid(1);
    p.validFrom = validFrom;
    p.validUntil = QString::number(validFrom.left(4).toInt() + 4) + validFrom.mid(4);
    p.revision = revision;
    p.examCount = extra ? 50 : 35;
    p.passCount = extra ? 37 : 26;
    p.source = QStringLiteral("https://www.ncvec.org/downloads/test.docx");
    const QString letter = levelLetter(level);
    p.topics.insert(letter + QLatin1Char('1'), QStringLiteral("First subelement"));
    const int groupCount = groups < 0 ? int(p.examCount) : groups;
    for (int g = 0; g < groupCount; ++g) {
        const QString group = letter + QString::number(1 + g / 26) + QChar(u'A' + g % 26);
        for (int n = 1; n <= perGroup; ++n) {
            Question q;
            q.id = group + QStringLiteral("%1").arg(n, 2, 10, QLatin1Char('0'));
            q.group = group;
            q.prompt = QStringLiteral("What is %1?").arg(q.id);
            q.answers = {QStringLiteral("A of ") + q.id, QStringLiteral("B of ") + q.id, QStringLiteral("C of ") + q.id,
                         QStringLiteral("D of ") + q.id};
            q.correct = n % 4;
            q.reference = QStringLiteral("[97.%1]").arg(n);
            p.questions.append(q);
        }
    }
    return p;
}

Pack pack(const QList<Pool>& pools)
{
    Pack p;
    p.schema = 1;
    p.pools = pools;
    return p;
}

Pack threeLevelPack()
{
    return pack({pool(QStringLiteral("technician"), QStringLiteral("tech-2026")),
                 pool(QStringLiteral("general"), QStringLiteral("general-2023"), QStringLiteral("2023-07-01"),
                      QStringLiteral("2026-02-04")),
                 pool(QStringLiteral("extra"), QStringLiteral("extra-2024"), QStringLiteral("2024-07-01"),
                      QStringLiteral("2026-02-04"))});
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write test file %s", qPrintable(path));
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

static QJsonValue editedValue(const QJsonValue& node, QStringList path, const std::function<void(QJsonObject&)>& edit)
{
    if (path.isEmpty()) {
        QJsonObject object = node.toObject();
        edit(object);
        return object;
    }
    const QString step = path.takeFirst();
    if (node.isArray()) {
        QJsonArray list = node.toArray();
        list[step.toInt()] = editedValue(list.at(step.toInt()), path, edit);
        return list;
    }
    QJsonObject object = node.toObject();
    object.insert(step, editedValue(object.value(step), path, edit));
    return object;
}

QJsonObject editedJson(const QJsonObject& root, const QString& path, const std::function<void(QJsonObject&)>& edit)
{
    return editedValue(root, path.split(QLatin1Char('/'), Qt::SkipEmptyParts), edit).toObject();
}

QString sourcePackPath()
{
    return QStringLiteral(KESTOVAN_SOURCE_DIR "/resources/pools.json");
}

} // namespace Fixtures
