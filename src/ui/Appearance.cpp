// The appearance choice and the desktop's colour-scheme preference.
#include "Appearance.h"

#include "store/Settings.h"

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QDBusVariant>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString portalService = u"org.freedesktop.portal.Desktop"_s;
const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
const QString settingsInterface = u"org.freedesktop.portal.Settings"_s;
const QString appearanceGroup = u"org.freedesktop.appearance"_s;
const QString colorSchemeKey = u"color-scheme"_s;
// The portal's values: 0 no preference, 1 prefers dark, 2 prefers light.
constexpr uint prefersDarkValue = 1;
// A desktop that does not answer at once is treated as having no preference until it says otherwise; start-up
// does not wait longer than this for it.
constexpr int readTimeoutMs = 300;

const QString modeKeys[] = {u"system"_s, u"light"_s, u"dark"_s};

} // namespace

DesktopColorScheme::DesktopColorScheme(const QDBusConnection& bus, QObject* parent) : QObject(parent)
{
    if (!bus.isConnected())
        return;
    QDBusConnection connection = bus;
    connection.connect(portalService, portalPath, settingsInterface, u"SettingChanged"_s, this,
                       SLOT(settingChanged(QDBusMessage)));
    QDBusMessage read = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, u"Read"_s);
    read << appearanceGroup << colorSchemeKey;
    // A running portal answers at once, and the window then opens in the right scheme. Otherwise the bus may first
    // have to start one (or have none): the window opens light and takes the answer whenever it comes.
    QDBusConnectionInterface* daemon = connection.interface();
    if (daemon && daemon->isServiceRegistered(portalService).value()) {
        const QDBusMessage reply = connection.call(read, QDBus::Block, readTimeoutMs);
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
            take(reply.arguments().constFirst());
        return;
    }
    auto* watcher = new QDBusPendingCallWatcher(connection.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusMessage reply = watcher->reply();
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
            take(reply.arguments().constFirst());
        watcher->deleteLater();
    });
}

void DesktopColorScheme::settingChanged(const QDBusMessage& message)
{
    const QVariantList arguments = message.arguments();
    if (arguments.size() == 3 && arguments[0].toString() == appearanceGroup &&
        arguments[1].toString() == colorSchemeKey)
        take(arguments[2]);
}

void DesktopColorScheme::take(const QVariant& value)
{
    // The portal's Read wraps the value in one variant more than the signal does.
    QVariant v = value;
    while (v.userType() == qMetaTypeId<QDBusVariant>())
        v = qvariant_cast<QDBusVariant>(v).variant();
    bool ok = false;
    const uint scheme = v.toUInt(&ok);
    const bool dark = ok && scheme == prefersDarkValue;
    if (dark == m_dark)
        return;
    m_dark = dark;
    emit changed();
}

Appearance::Appearance(QApplication& app, const QDBusConnection& bus, QObject* parent)
    : QObject(parent), m_app(app), m_desktop(bus)
{
    const QString kept = Settings::open()->value(Settings::appearance).toString();
    for (Mode mode : modes)
        if (kept == modeKeys[int(mode)])
            m_mode = mode;
    connect(&m_desktop, &DesktopColorScheme::changed, this, &Appearance::applyScheme);
    applyScheme();
}

QDBusConnection Appearance::desktopBus()
{
    // A session bus is announced in the environment, or, under systemd, found at its well-known place.
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") &&
        (runtime.isEmpty() || !QFileInfo(runtime + u"/bus"_s).exists()))
        return QDBusConnection(u"no session bus"_s);
    return QDBusConnection::sessionBus();
}

void Appearance::setMode(Mode mode)
{
    Settings::open()->setValue(Settings::appearance, modeKeys[int(mode)]);
    if (mode == m_mode)
        return;
    m_mode = mode;
    applyScheme();
    emit modeChanged();
}

Theme::Scheme Appearance::scheme() const
{
    switch (m_mode) {
    case Mode::light:
        return Theme::Scheme::light;
    case Mode::dark:
        return Theme::Scheme::dark;
    case Mode::system:
        break;
    }
    return m_desktop.prefersDark() ? Theme::Scheme::dark : Theme::Scheme::light;
}

QString Appearance::title(Mode mode)
{
    switch (mode) {
    case Mode::light:
        return u"Light"_s;
    case Mode::dark:
        return u"Dark"_s;
    case Mode::system:
        break;
    }
    return u"System"_s;
}

void Appearance::applyScheme()
{
    Theme::apply(m_app, scheme());
}
