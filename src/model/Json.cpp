// Strict JSON decoding helpers.
#include "Json.h"

#include <cmath>

namespace Json {
namespace {

[[noreturn]] void missing(const QString& key)
{
    throw DecodeError(QStringLiteral("The data could not be read because the key “%1” is missing.").arg(key));
}

[[noreturn]] void wrongType(const QString& key, const char* expected)
{
    throw DecodeError(
        QStringLiteral("The data could not be read because “%1” is not %2.").arg(key, QLatin1StringView(expected)));
}

QJsonValue required(const QJsonObject& o, const QString& key)
{
    const auto it = o.constFind(key);
    if (it == o.constEnd())
        missing(key);
    return *it;
}

QJsonDocument parse(const QByteArray& bytes)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        throw DecodeError(QStringLiteral("The data could not be read because it is not valid JSON (%1 at offset %2).")
                              .arg(error.errorString())
                              .arg(error.offset));
    return document;
}

} // namespace

QJsonObject parseObject(const QByteArray& bytes)
{
    const QJsonDocument document = parse(bytes);
    if (!document.isObject())
        throw DecodeError(QStringLiteral("The data could not be read because it is not a JSON object."));
    return document.object();
}

QJsonArray parseArray(const QByteArray& bytes)
{
    const QJsonDocument document = parse(bytes);
    if (!document.isArray())
        throw DecodeError(QStringLiteral("The data could not be read because it is not a JSON array."));
    return document.array();
}

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray compact(const QJsonArray& array)
{
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

QString string(const QJsonObject& o, const QString& key)
{
    return stringValue(required(o, key), key);
}

qint64 integer(const QJsonObject& o, const QString& key)
{
    return integerValue(required(o, key), key);
}

qint64 integerValue(const QJsonValue& v, const QString& where)
{
    if (!v.isDouble())
        wrongType(where, "a number");
    const double d = v.toDouble();
    // An integer field holding 1.5 or 1e300 is as wrong as one holding text.
    if (!std::isfinite(d) || d != std::trunc(d) || std::fabs(d) > 9007199254740992.0)
        wrongType(where, "an integer");
    return static_cast<qint64>(d);
}

double number(const QJsonObject& o, const QString& key)
{
    const QJsonValue v = required(o, key);
    if (!v.isDouble())
        wrongType(key, "a number");
    return v.toDouble();
}

bool boolean(const QJsonObject& o, const QString& key)
{
    const QJsonValue v = required(o, key);
    if (!v.isBool())
        wrongType(key, "true or false");
    return v.toBool();
}

QJsonArray array(const QJsonObject& o, const QString& key)
{
    const QJsonValue v = required(o, key);
    if (!v.isArray())
        wrongType(key, "an array");
    return v.toArray();
}

QJsonObject object(const QJsonObject& o, const QString& key)
{
    return objectValue(required(o, key), key);
}

QUuid uuid(const QJsonObject& o, const QString& key)
{
    return parseUuid(string(o, key), key);
}

std::optional<QString> optionalString(const QJsonObject& o, const QString& key)
{
    if (!o.contains(key))
        return std::nullopt;
    return string(o, key);
}

std::optional<double> optionalNumber(const QJsonObject& o, const QString& key)
{
    if (!o.contains(key))
        return std::nullopt;
    return number(o, key);
}

std::optional<bool> optionalBoolean(const QJsonObject& o, const QString& key)
{
    if (!o.contains(key))
        return std::nullopt;
    return boolean(o, key);
}

std::optional<QUuid> optionalUuid(const QJsonObject& o, const QString& key)
{
    if (!o.contains(key))
        return std::nullopt;
    return uuid(o, key);
}

QString stringValue(const QJsonValue& v, const QString& where)
{
    if (!v.isString())
        wrongType(where, "text");
    return v.toString();
}

QJsonObject objectValue(const QJsonValue& v, const QString& where)
{
    if (!v.isObject())
        wrongType(where, "an object");
    return v.toObject();
}

QStringList strings(const QJsonArray& a, const QString& where)
{
    QStringList list;
    list.reserve(a.size());
    for (const QJsonValue& v : a)
        list.append(stringValue(v, where));
    return list;
}

QSet<QString> stringSet(const QJsonArray& a, const QString& where)
{
    QSet<QString> set;
    set.reserve(a.size());
    for (const QJsonValue& v : a)
        set.insert(stringValue(v, where));
    return set;
}

QMap<QString, QString> stringMap(const QJsonObject& o, const QString& where)
{
    QMap<QString, QString> map;
    for (auto it = o.constBegin(); it != o.constEnd(); ++it)
        map.insert(it.key(), stringValue(it.value(), where));
    return map;
}

QJsonArray fromStrings(const QStringList& list)
{
    return QJsonArray::fromStringList(list);
}

QJsonArray fromSet(const QSet<QString>& set)
{
    QStringList list(set.cbegin(), set.cend());
    list.sort(); // sets have no order, but a stable file is easier to compare
    return QJsonArray::fromStringList(list);
}

QJsonObject fromMap(const QMap<QString, QString>& map)
{
    QJsonObject o;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        o.insert(it.key(), it.value());
    return o;
}

QString uuidText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QUuid parseUuid(const QString& text, const QString& where)
{
    // Only the canonical 36-character form is accepted, in either letter case.
    const QUuid id = text.size() == 36 ? QUuid::fromString(text) : QUuid();
    if (id.isNull() && text != QLatin1StringView("00000000-0000-0000-0000-000000000000"))
        wrongType(where, "a UUID");
    return id;
}

} // namespace Json
