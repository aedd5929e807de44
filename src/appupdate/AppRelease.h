// The maker's release record: which version is the newest and where to download it.
#pragma once

#include <QJsonObject>
#include <QString>
#include <QUrl>

struct AppRelease
{
    QString version;
    qint64 build = 0;
    QUrl url;

    bool operator==(const AppRelease&) const = default;
    static AppRelease fromJson(const QJsonObject& o);
    static AppRelease fromBytes(const QByteArray& bytes);
    QJsonObject toJson() const;
};
