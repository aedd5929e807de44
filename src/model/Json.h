// Strict JSON decoding: required keys must exist with the right type, optional keys may be absent, never null.
#pragma once

#include "Errors.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QSet>
#include <QStringList>
#include <QUuid>
#include <optional>

namespace Json {

QJsonObject parseObject(const QByteArray& bytes);
QJsonArray parseArray(const QByteArray& bytes);
QByteArray compact(const QJsonObject& object);
QByteArray compact(const QJsonArray& array);

QString string(const QJsonObject& o, const QString& key);
qint64 integer(const QJsonObject& o, const QString& key);
double number(const QJsonObject& o, const QString& key);
bool boolean(const QJsonObject& o, const QString& key);
QJsonArray array(const QJsonObject& o, const QString& key);
QJsonObject object(const QJsonObject& o, const QString& key);
QUuid uuid(const QJsonObject& o, const QString& key);

std::optional<QString> optionalString(const QJsonObject& o, const QString& key);
std::optional<double> optionalNumber(const QJsonObject& o, const QString& key);
std::optional<bool> optionalBoolean(const QJsonObject& o, const QString& key);
std::optional<QUuid> optionalUuid(const QJsonObject& o, const QString& key);

// Elements of an array or values of an object, each of the required type.
QString stringValue(const QJsonValue& v, const QString& where);
qint64 integerValue(const QJsonValue& v, const QString& where);
QJsonObject objectValue(const QJsonValue& v, const QString& where);
QStringList strings(const QJsonArray& a, const QString& where);
QSet<QString> stringSet(const QJsonArray& a, const QString& where);
QMap<QString, QString> stringMap(const QJsonObject& o, const QString& where);

QJsonArray fromStrings(const QStringList& list);
QJsonArray fromSet(const QSet<QString>& set);
QJsonObject fromMap(const QMap<QString, QString>& map);

// Identifiers are written as canonical upper-case text and read in either case.
QString uuidText(const QUuid& id);
QUuid parseUuid(const QString& text, const QString& where);

} // namespace Json
