// The appearance: text contrast of both schemes, open screens repainted in a new scheme at once, the desktop's
// colour-scheme preference followed over a real D-Bus session bus (a fake settings portal on its own thread), and the
// View menu's choice kept in the settings. The dark screens are photographed.
#include "ui/Appearance.h"
#include "UiHarness.h"
#include "store/Settings.h"
#include "ui/CardButton.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QMenu>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>
#include <atomic>

namespace {

double luminance(const QColor& c)
{
    const auto channel = [](double v) { return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
    return 0.2126 * channel(c.redF()) + 0.7152 * channel(c.greenF()) + 0.0722 * channel(c.blueF());
}

double contrast(const QColor& a, const QColor& b)
{
    const auto [darker, lighter] = std::minmax({luminance(a), luminance(b)});
    return (lighter + 0.05) / (darker + 0.05);
}

// The colour seen where top, with its opacity, is painted over bottom.
QColor over(const QColor& top, double opacity, const QColor& bottom)
{
    const auto mix = [&](double t, double b) { return t * opacity + b * (1 - opacity); };
    return QColor::fromRgbF(float(mix(top.redF(), bottom.redF())), float(mix(top.greenF(), bottom.greenF())),
                            float(mix(top.blueF(), bottom.blueF())));
}

const QString portalService = u"org.freedesktop.portal.Desktop"_s;
const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
const QString settingsInterface = u"org.freedesktop.portal.Settings"_s;

} // namespace

// Answers Read as the desktop's settings portal does, the value wrapped in one more variant.
class FakePortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    std::atomic<uint> scheme = 0;

public slots:
    QDBusVariant Read(const QString& group, const QString& key)
    {
        const uint value = group == "org.freedesktop.appearance"_L1 && key == "color-scheme"_L1 ? scheme.load() : 0;
        return QDBusVariant(QVariant::fromValue(QDBusVariant(value)));
    }
};

// A session bus of the test's own, with the fake portal answering from another thread (the application reads the
// preference of a running portal with a blocking call).
class PrivateBus
{
public:
    PrivateBus()
    {
        m_daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
        if (!m_daemon.waitForReadyRead(5000))
            return;
        address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        m_portalSide = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(address, u"portal"_s));
        m_appSide = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(address, u"application"_s));
        portal.moveToThread(&m_thread);
        m_thread.start();
        m_portalSide->registerObject(portalPath, &portal, QDBusConnection::ExportAllSlots);
        m_portalSide->registerService(portalService);
    }
    ~PrivateBus()
    {
        QThread* here = QThread::currentThread();
        QMetaObject::invokeMethod(
            &portal, [this, here] { portal.moveToThread(here); }, Qt::BlockingQueuedConnection);
        m_thread.quit();
        m_thread.wait();
        m_appSide.reset();
        m_portalSide.reset();
        QDBusConnection::disconnectFromBus(u"portal"_s);
        QDBusConnection::disconnectFromBus(u"application"_s);
        m_daemon.kill();
        m_daemon.waitForFinished();
    }
    bool up() const { return m_appSide && m_appSide->isConnected() && m_portalSide->isConnected(); }
    const QDBusConnection& application() const { return *m_appSide; }
    // The desktop announces a new value of a setting.
    void announce(const QString& group, const QString& key, uint value)
    {
        QDBusMessage signal = QDBusMessage::createSignal(portalPath, settingsInterface, u"SettingChanged"_s);
        signal << group << key << QVariant::fromValue(QDBusVariant(value));
        QVERIFY(m_portalSide->send(signal));
    }

    // The desktop's portal leaves the bus, or comes (back) onto it.
    void setPortalRunning(bool running)
    {
        QVERIFY(running ? m_portalSide->registerService(portalService)
                        : m_portalSide->unregisterService(portalService));
    }

    FakePortal portal;
    QString address;

private:
    QProcess m_daemon;
    QThread m_thread;
    std::unique_ptr<QDBusConnection> m_portalSide;
    std::unique_ptr<QDBusConnection> m_appSide;
};

class AppearanceTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        Settings::open()->remove(Settings::appearance);
        Theme::apply(*qApp, Theme::Scheme::light);
    }

    void textIsReadableInBothSchemes_data()
    {
        QTest::addColumn<QColor>("text");
        QTest::addColumn<QList<QColor>>("backgrounds");
        for (const Theme::Scheme scheme : {Theme::Scheme::light, Theme::Scheme::dark}) {
            const Theme::Colors& c = Theme::colors(scheme);
            const QByteArray name = scheme == Theme::Scheme::dark ? "dark " : "light ";
            // The answer rows (chosen, revealed) and the selected pool card are tinted over the control colour.
            const QColor chosen = over(c.accent, 0.13, c.control), revealed = over(c.success, 0.18, c.control);
            const QColor card = over(c.accent, 0.15, c.control);
            const QList<std::tuple<const char*, QColor, QList<QColor>>> rows{
                {"text", c.text, {c.window, c.surface, chosen, revealed, card, c.hover, c.pressed}},
                {"secondary", c.secondaryText, {c.window, c.surface, c.control, card}},
                {"accent text and answer letters", c.accentText, {c.window, c.surface, chosen, revealed}},
                {"filled button label", c.onAccent, {c.accent, c.accentHover, c.accentPressed}},
                {"passed", c.successText, {c.window, c.surface}},
                {"warning", c.warningText, {c.window, c.surface}},
                {"destructive", c.destructive, {c.surface, c.destructiveHover}}};
            for (const auto& [what, text, backgrounds] : rows)
                QTest::newRow(QByteArray(name + what).constData()) << text << backgrounds;
        }
    }

    void textIsReadableInBothSchemes()
    {
        QFETCH(QColor, text);
        QFETCH(QList<QColor>, backgrounds);
        for (const QColor& background : backgrounds)
            QVERIFY2(contrast(text, background) >= 4.5,
                     qPrintable(u"%1 on %2: %3"_s.arg(text.name(), background.name()).arg(contrast(text, background))));
    }

    void systemFollowsTheDesktopAndTheChoiceIsKept()
    {
        PrivateBus bus;
        QVERIFY2(bus.up(), "dbus-daemon could not start a session bus");
        const Theme::Colors& dark = Theme::colors(Theme::Scheme::dark);
        const Theme::Colors& light = Theme::colors(Theme::Scheme::light);
        const auto shown = [] { return QApplication::palette().color(QPalette::Window); };
        Harness h;
        // Open screens take a new scheme at once.
        Theme::apply(*qApp, Theme::Scheme::dark);
        screenshot(*h.root, u"dark-learn"_s);
        // An unselected pool card (the first is selected) is outlined in the dark divider colour.
        const auto cards = h.root->findChildren<CardButton*>(QRegularExpression(u"^poolCard-"_s));
        QVERIFY(cards.size() == 3 && cards.last()->isVisible());
        QCOMPARE(cards.last()->outline(), dark.divider);
        h.startFromLearn(u"Study All"_s, u"Ada"_s);
        Theme::apply(*qApp, Theme::Scheme::light);
        h.store->answer(1);
        Theme::apply(*qApp, Theme::Scheme::dark);
        screenshot(*h.root, u"dark-question"_s);
        // The rows drawn before the change take the dark scheme's fills: the chosen one the accent over the control.
        QCOMPARE(h.visible<CardButton>(u"answer-0"_s)->fill(), dark.control);
        QCOMPARE(h.visible<CardButton>(u"answer-1"_s)->outline(), dark.accent);

        Theme::apply(*qApp, Theme::Scheme::light); // from here on the desktop's preference decides
        bus.portal.scheme = 1;
        auto appearance = std::make_unique<Appearance>(*qApp, bus.application());
        QCOMPARE(appearance->mode(), Appearance::Mode::system);
        QCOMPARE(shown(), dark.window);
        QVERIFY(qApp->styleSheet().contains(dark.accent.name()));

        // value announced | scheme shown after it (other settings and groups are not the colour scheme)
        const QString group = u"org.freedesktop.appearance"_s, key = u"color-scheme"_s;
        const QList<std::tuple<QString, QString, uint, QColor>> changes{
            {group, key, 2, light.window},
            {group, key, 1, dark.window},
            {group, u"accent-color"_s, 0, dark.window},
            {u"org.gnome.desktop.interface"_s, key, 0, dark.window},
            {group, key, 0, light.window},
            {group, key, 1, dark.window}};
        for (const auto& [group, key, value, window] : changes) {
            bus.announce(group, key, value);
            QTest::qWait(100);
            QTRY_COMPARE(shown(), window);
        }

        // A choice of the learner's holds against the desktop, is kept, and is read back at the next start.
        RootView& root = *h.root;
        root.addAppearanceMenu(*appearance);
        auto* menu = root.findChild<QMenu*>(u"appearanceMenu"_s);
        QStringList titles;
        for (QAction* action : menu->actions())
            titles << action->text() + (action->isChecked() ? u"*"_s : QString());
        QCOMPARE(titles, (QStringList{u"System*"_s, u"Light"_s, u"Dark"_s}));
        root.findChild<QAction*>(u"appearanceLight"_s)->trigger();
        QCOMPARE(shown(), light.window);
        QCOMPARE(Settings::open()->value(Settings::appearance).toString(), u"light"_s);
        bus.announce(group, key, 1);
        QTest::qWait(150);
        QCOMPARE(shown(), light.window);
        appearance->setMode(Appearance::Mode::dark);
        QVERIFY(root.findChild<QAction*>(u"appearanceDark"_s)->isChecked());
        QVERIFY(!root.findChild<QAction*>(u"appearanceLight"_s)->isChecked());

        bus.portal.scheme = 2;
        appearance = std::make_unique<Appearance>(*qApp, bus.application());
        QCOMPARE(appearance->mode(), Appearance::Mode::dark);
        QCOMPARE(shown(), dark.window);
        // Without a desktop to ask, System is light.
        appearance->setMode(Appearance::Mode::system);
        Appearance alone(*qApp, QDBusConnection(u"no bus"_s));
        QCOMPARE(shown(), light.window);

        // A portal that is not running yet is not waited for: light until it starts and says otherwise.
        appearance.reset();
        bus.setPortalRunning(false);
        bus.portal.scheme = 1;
        Appearance early(*qApp, bus.application());
        QCOMPARE(shown(), light.window);
        bus.setPortalRunning(true);
        QTest::qWait(100);
        bus.announce(group, key, 1);
        QTRY_COMPARE(shown(), dark.window);
    }

    // The desktop is asked over the session bus only where the session announces one.
    void theSessionBusIsTheAnnouncedOne()
    {
        PrivateBus bus;
        QVERIFY2(bus.up(), "dbus-daemon could not start a session bus");
        const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS"), runtime = qgetenv("XDG_RUNTIME_DIR");
        const auto restore = qScopeGuard([&] {
            qputenv("DBUS_SESSION_BUS_ADDRESS", address);
            qputenv("XDG_RUNTIME_DIR", runtime);
        });
        QTemporaryDir emptyRuntime;
        qputenv("XDG_RUNTIME_DIR", emptyRuntime.path().toUtf8());
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        QVERIFY(!Appearance::desktopBus().isConnected());
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address.toUtf8());
        const QDBusConnection announced = Appearance::desktopBus();
        QVERIFY(announced.isConnected());
        QVERIFY(announced.interface()->isServiceRegistered(u"org.freedesktop.portal.Desktop"_s).value());
    }
};

AEROWEN_TEST(AppearanceTest)
#include "AppearanceTest.moc"
