// Shared test builders.
#include "Fixtures.h"

#include <QFile>
#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace Fixtures {

Pool pool(const QString& level, const QString& id, const QString& validFrom, const QString& revision, int groups,
          int perGroup)
{
    const bool extra = level == "extra"_L1;
    const QString letter = levelLetter(level);
    const QString name = extra ? u"Amateur Extra"_s : level.at(0).toUpper() + level.mid(1);
    const QString until = QString::number(validFrom.left(4).toInt() + 4) + validFrom.mid(4);
    const QString source = u"https://www.ncvec.org/downloads/test.docx"_s;
    Pool p{id, level, name, validFrom, until, revision, std::nullopt, extra ? 50 : 35, extra ? 37 : 26, source, {}, {}};
    p.topics.insert(letter + u'1', u"First subelement"_s);
    for (int g = 0; g < (groups < 0 ? int(p.examCount) : groups); ++g) {
        const QString group = letter + QString::number(1 + g / 26) + QChar(u'A' + g % 26);
        for (int n = 1; n <= perGroup; ++n) {
            const QString qid = group + u"%1"_s.arg(n, 2, 10, QLatin1Char('0'));
            const QStringList answers{"A of " + qid, "B of " + qid, "C of " + qid, "D of " + qid};
            p.questions.append(
                {qid, group, u"What is %1?"_s.arg(qid), answers, n % 4, u"[97.%1]"_s.arg(n), std::nullopt});
        }
    }
    return p;
}

Pack pack(const QList<Pool>& pools)
{
    return Pack{1, pools, {}};
}

Pack threeLevelPack()
{
    return pack({pool(u"technician"_s, u"tech-2026"_s),
                 pool(u"general"_s, u"general-2023"_s, u"2023-07-01"_s, u"2026-02-04"_s),
                 pool(u"extra"_s, u"extra-2024"_s, u"2024-07-01"_s, u"2026-02-04"_s)});
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
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

static QJsonValue editedValue(const QJsonValue& node, const QStringList& path,
                              const std::function<void(QJsonObject&)>& edit)
{
    QJsonObject object = node.toObject();
    QJsonArray list = node.toArray();
    const QString step = path.value(0);
    if (path.isEmpty())
        edit(object);
    else if (node.isArray())
        list[step.toInt()] = editedValue(list.at(step.toInt()), path.mid(1), edit);
    else
        object.insert(step, editedValue(object.value(step), path.mid(1), edit));
    return path.isEmpty() || !node.isArray() ? QJsonValue(object) : QJsonValue(list);
}

QJsonObject editedJson(const QJsonObject& root, const QString& path, const std::function<void(QJsonObject&)>& edit)
{
    return editedValue(root, path.split(u'/', Qt::SkipEmptyParts), edit).toObject();
}

QString sourcePackPath()
{
    return QStringLiteral(KESTOVAN_SOURCE_DIR "/resources/pools.json");
}

} // namespace Fixtures
