// The learner's settings: question text size, the time of the last pool check and the appearance.
#pragma once

#include <QSettings>
#include <memory>

namespace Settings {

inline const QString organization = QStringLiteral("Kestovan");
inline const QString application = QStringLiteral("Kestovan Aerowen");
inline const QString studyTextSize = QStringLiteral("studyTextSize");
inline const QString lastPoolCheck = QStringLiteral("lastPoolCheck");
// "system", "light" or "dark".
inline const QString appearance = QStringLiteral("appearance");

inline constexpr double defaultTextSize = 18;
inline constexpr double minimumTextSize = 15;
inline constexpr double maximumTextSize = 26;

inline std::unique_ptr<QSettings> open()
{
    return std::make_unique<QSettings>(organization, application);
}

} // namespace Settings
