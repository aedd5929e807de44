// The learner's choice of appearance (System, Light or Dark) and the desktop preference that "System" follows.
#pragma once

#include "Theme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

class QApplication;

// The desktop's colour-scheme preference, read from the freedesktop settings portal and followed as it changes.
// Without a portal (or a session bus) the desktop has no preference, which reads as light.
class DesktopColorScheme : public QObject
{
    Q_OBJECT

public:
    explicit DesktopColorScheme(const QDBusConnection& bus, QObject* parent = nullptr);

    bool prefersDark() const { return m_dark; }

    // The portal's SettingChanged signal: group, key and value (D-Bus delivers only to public slots).
public slots:
    void settingChanged(const QDBusMessage& message);

signals:
    void changed();

private:
    void take(const QVariant& value);

    bool m_dark = false;
};

class Appearance : public QObject
{
    Q_OBJECT

public:
    enum class Mode { system, light, dark };

    // Applies the scheme of the mode kept in the settings (System when none is kept).
    explicit Appearance(QApplication& app, const QDBusConnection& bus = desktopBus(), QObject* parent = nullptr);

    // The session bus when the desktop session has one; otherwise a connection that is not connected. Asking for
    // the session bus where none is announced would make the bus library try to launch one, which forks the whole
    // application first.
    static QDBusConnection desktopBus();

    Mode mode() const { return m_mode; }
    // Keeps the mode in the settings and applies its scheme at once.
    void setMode(Mode mode);
    Theme::Scheme scheme() const;

    // The menu titles of the modes, in menu order.
    static QString title(Mode mode);
    static constexpr Mode modes[] = {Mode::system, Mode::light, Mode::dark};

signals:
    void modeChanged();

private:
    void applyScheme();

    QApplication& m_app;
    Mode m_mode = Mode::system;
    DesktopColorScheme m_desktop;
};
