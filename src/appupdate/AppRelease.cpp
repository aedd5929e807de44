// The release record's JSON form.
#include "AppRelease.h"

#include "model/Json.h"

AppRelease AppRelease::fromJson(const QJsonObject& o)
{
    AppRelease r;
    r.version = Json::string(o, QStringLiteral("version"));
    r.build = Json::integer(o, QStringLiteral("build"));
    r.url = Json::string(o, QStringLiteral("url"));
    return r;
}

AppRelease AppRelease::fromBytes(const QByteArray& bytes)
{
    return fromJson(Json::parseObject(bytes));
}

QJsonObject AppRelease::toJson() const
{
    return QJsonObject{
        {QStringLiteral("version"), version}, {QStringLiteral("build"), build}, {QStringLiteral("url"), url}};
}
