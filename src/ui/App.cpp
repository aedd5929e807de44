// The application object and the root screen.
#include "App.h"

#include "Appearance.h"

#include "BrowseView.h"
#include "ExamView.h"
#include "HelpView.h"
#include "HistoryView.h"
#include "Icons.h"
#include "LeaderboardView.h"
#include "LearnView.h"
#include "ProfilesView.h"
#include "ProgressViewPage.h"
#include "ResultView.h"
#include "Theme.h"
#include "UpdatesView.h"
#include "appupdate/KestovanUpdates.h"
#include "store/Store.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QButtonGroup>
#include <QComboBox>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QFontMetrics>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QSessionManager>
#include <QSocketNotifier>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QTimer>
#include <QVBoxLayout>
#include <atomic>
#include <csignal>
#include <functional>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int dailyInterval = 86'400 * 1000;

struct Section
{
    QString id;
    QString icon;
};

const QList<Section>& sectionTable()
{
    static const QList<Section> table = {
        {QStringLiteral("Learn"), QStringLiteral("book")},
        {QStringLiteral("Browse"), QStringLiteral("magnifyingglass")},
        {QStringLiteral("Progress"), QStringLiteral("chart.bar")},
        {QStringLiteral("Top 10"), QStringLiteral("trophy")},
        {QStringLiteral("History"), QStringLiteral("clock")},
        {QStringLiteral("Profiles"), QStringLiteral("person.2")},
        {QStringLiteral("Updates"), QStringLiteral("arrow.down.circle")},
        {QStringLiteral("Help"), QStringLiteral("questionmark.circle")},
    };
    return table;
}

// A section's frame: it scrolls vertically and holds its content at most 1000 wide, centred. The frame is put in
// place first and the content made inside it, so that every widget is styled once, where it will stay; building
// the content elsewhere and moving it in would run the style sheet over the whole tree again at each move.
QScrollArea* scrolling(QStackedWidget* stack, const std::function<QWidget*(QWidget*)>& makeContent)
{
    auto* area = new QScrollArea(stack);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFrameShape(QFrame::NoFrame);
    stack->addWidget(area);
    auto* holder = new QWidget;
    area->setWidget(holder);
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(24, 20, 24, 24);
    QWidget* content = makeContent(holder);
    content->setMaximumWidth(1000);
    row->addStretch(0);
    row->addWidget(content, 1);
    row->addStretch(0);
    return area;
}

int signalPipe[2] = {-1, -1};
// The store's background work, stopped straight from the signal handler: even a diagram-review test running on
// the interface's thread then gives way, so the main loop can save the draft and quit.
std::atomic<Cancellation*> signalCancellation = nullptr;

void onSignal(int)
{
    const char byte = 1;
    // Only async-signal-safe work here: a lock-free flag, and a byte the main loop reads to quit normally.
    if (Cancellation* cancellation = signalCancellation.load())
        cancellation->request();
    [[maybe_unused]] const auto written = ::write(signalPipe[0], &byte, 1);
}

} // namespace

const QStringList& RootView::sections()
{
    static const QStringList ids = [] {
        QStringList list;
        for (const Section& s : sectionTable())
            list.append(s.id);
        return list;
    }();
    return ids;
}

QString RootView::iconName(const QString& tab)
{
    for (const Section& s : sectionTable()) {
        if (s.id == tab)
            return s.icon;
    }
    return QStringLiteral("book");
}

QWidget* RootView::makeSection(const QString& tab, Store& store, QWidget* parent)
{
    // Compared in this order; anything else, "Learn" included, is the set-up screen.
    if (tab == QLatin1StringView("Browse"))
        return new BrowseView(store, parent);
    if (tab == QLatin1StringView("Progress"))
        return new ProgressViewPage(store, parent);
    if (tab == QLatin1StringView("Top 10"))
        return new LeaderboardView(store, parent);
    if (tab == QLatin1StringView("History"))
        return new HistoryView(store, parent);
    if (tab == QLatin1StringView("Profiles"))
        return new ProfilesView(store, parent);
    if (tab == QLatin1StringView("Updates"))
        return new UpdatesView(store, parent);
    if (tab == QLatin1StringView("Help"))
        return new HelpView(store, parent);
    return new LearnView(store, parent);
}

RootView::RootView(Store& store, QWidget* parent) : QMainWindow(parent), m_store(store)
{
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Kestovan Aerowen"));
    setMinimumSize(900, 670);
    resize(1180, 800);
    qApp->installEventFilter(this);

    auto* central = new QWidget(this);
    central->setObjectName(QStringLiteral("root"));
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    // Every part is made inside the widget it stays in: moving a styled tree to a new parent styles it again.
    layout->addWidget(buildHeader(central));
    layout->addWidget(buildBanner(central));
    auto* divider = new QFrame(central);
    divider->setObjectName(QStringLiteral("divider"));
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Plain);
    layout->addWidget(divider);

    m_body = new QStackedWidget(central);
    m_body->setObjectName(QStringLiteral("body"));
    m_body->addWidget(buildSections(m_body));
    layout->addWidget(m_body, 1);
    setCentralWidget(central);

    buildMenus();

    m_store.setSavePanel([this](const QString& proposedName) -> std::optional<QString> {
        // The learner's Documents folder, or the home folder when there is none; never the working directory.
        QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        if (folder.isEmpty() || !QDir(folder).exists())
            folder = QDir::homePath();
        const QString path =
            QFileDialog::getSaveFileName(this, QStringLiteral("Export Result"),
                                         folder + QLatin1Char('/') + proposedName, QStringLiteral("Text (*.txt)"));
        if (path.isEmpty())
            return std::nullopt;
        return path;
    });

    m_daily = new QTimer(this);
    m_daily->setObjectName(QStringLiteral("dailyChecks"));
    m_daily->setInterval(dailyInterval);
    connect(m_daily, &QTimer::timeout, this, &RootView::runChecks);

    connect(&m_store, &Store::savedChanged, this, &RootView::refreshProfiles);
    connect(&m_store, &Store::sessionChanged, this, &RootView::refreshBody);
    connect(&m_store, &Store::resultChanged, this, &RootView::refreshBody);
    connect(&m_store, &Store::availableReleaseChanged, this, &RootView::refreshBanner);
    connect(&m_store, &Store::messageChanged, this, &RootView::showMessage);
    refreshProfiles();
    refreshBanner();
    refreshBody();
    // A message left by start-up (for example an unreadable progress file) is shown once the window is up.
    QTimer::singleShot(0, this, &RootView::showMessage);
}

QWidget* RootView::buildHeader(QWidget* parent)
{
    auto* header = new QWidget(parent);
    header->setObjectName(QStringLiteral("header"));
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(22, 22, 22, 22);
    auto* titles = new QVBoxLayout();
    titles->setSpacing(2);
    auto* title = new QLabel(QStringLiteral("Kestovan Aerowen"), header);
    title->setObjectName(QStringLiteral("appTitle"));
    title->setFont(Theme::secondTitleFont(title));
    auto* subtitle = new QLabel(QStringLiteral("Learn the material. Practise with purpose."), header);
    subtitle->setObjectName(QStringLiteral("appSubtitle"));
    Theme::secondary(subtitle);
    titles->addWidget(title);
    titles->addWidget(subtitle);
    row->addLayout(titles);
    row->addStretch(1);

    auto* pickerLabel = new QLabel(QStringLiteral("Profile"), header);
    m_profilePicker = new QComboBox(header);
    m_profilePicker->setObjectName(QStringLiteral("profilePicker"));
    m_profilePicker->setAccessibleName(QStringLiteral("Profile"));
    m_profilePicker->setFixedWidth(210);
    pickerLabel->setBuddy(m_profilePicker);
    row->addWidget(pickerLabel);
    row->addWidget(m_profilePicker);
    connect(m_profilePicker, &QComboBox::activated, this, [this](int index) {
        const QUuid id = m_profilePicker->itemData(index).toUuid();
        if (!id.isNull())
            m_store.select(id);
    });
    return header;
}

QWidget* RootView::buildBanner(QWidget* parent)
{
    m_banner = new QFrame(parent);
    m_banner->setObjectName(QStringLiteral("releaseBanner"));
    m_banner->setStyleSheet(QStringLiteral("QFrame#releaseBanner { background: rgba(15, 139, 141, 0.10); }"));
    auto* row = new QHBoxLayout(m_banner);
    row->setContentsMargins(22, 8, 22, 8);
    m_bannerText = new QLabel(m_banner);
    m_bannerText->setObjectName(QStringLiteral("releaseText"));
    auto* link = new QPushButton(QStringLiteral("View Download"), m_banner);
    link->setObjectName(QStringLiteral("viewDownload"));
    link->setProperty("flat", true);
    link->setCursor(Qt::PointingHandCursor);
    connect(link, &QPushButton::clicked, this, [this] {
        if (m_store.availableRelease())
            QDesktopServices::openUrl(m_store.availableRelease()->address());
    });
    row->addWidget(m_bannerText);
    row->addWidget(link);
    row->addStretch(1);
    return m_banner;
}

QWidget* RootView::buildSections(QWidget* parent)
{
    m_sectionsPage = new QWidget(parent);
    m_sectionsPage->setObjectName(QStringLiteral("sectionsPage"));
    auto* row = new QHBoxLayout(m_sectionsPage);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);

    auto* sidebar = new QWidget(m_sectionsPage);
    sidebar->setObjectName(QStringLiteral("sidebar"));
    sidebar->setFixedWidth(190);
    auto* list = new QVBoxLayout(sidebar);
    list->setContentsMargins(10, 12, 10, 12);
    list->setSpacing(2);
    m_sidebar = new QButtonGroup(this);
    m_sidebar->setExclusive(true);
    for (const Section& section : sectionTable()) {
        auto* button = new QPushButton(Icons::icon(section.icon, Theme::Tone::accent), section.id, sidebar);
        button->setObjectName(QStringLiteral("section-") + QString(section.id).remove(QLatin1Char(' ')));
        button->setProperty("sidebar", true);
        button->setCheckable(true);
        button->setIconSize(QSize(18, 18));
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        button->setFocusPolicy(Qt::TabFocus);
        m_sidebar->addButton(button);
        list->addWidget(button);
        connect(button, &QPushButton::clicked, this, [this, id = section.id] { setTab(id); });
    }
    list->addStretch(1);
    row->addWidget(sidebar);

    auto* line = new QFrame(m_sectionsPage);
    line->setObjectName(QStringLiteral("divider"));
    line->setFrameShape(QFrame::VLine);
    line->setFrameShadow(QFrame::Plain);
    row->addWidget(line);

    m_sectionStack = new QStackedWidget(m_sectionsPage);
    m_sectionStack->setObjectName(QStringLiteral("sectionStack"));
    row->addWidget(m_sectionStack, 1);
    setTab(m_tab);
    return m_sectionsPage;
}

void RootView::buildMenus()
{
    QMenu* menu = menuBar()->addMenu(QStringLiteral("Kestovan Aerowen"));
    menu->setObjectName(QStringLiteral("applicationMenu"));
    QAction* about = menu->addAction(QStringLiteral("About Kestovan Aerowen"));
    about->setObjectName(QStringLiteral("aboutAction"));
    about->setMenuRole(QAction::NoRole);
    connect(about, &QAction::triggered, this, [this] {
        QMessageBox::about(this, QStringLiteral("About Kestovan Aerowen"),
                           QStringLiteral("<b>Kestovan Aerowen</b><br>Version %1<br><br>"
                                          "Study and practise for the amateur-radio licence examinations.")
                               .arg(QApplication::applicationVersion()));
    });
    menu->addSeparator();

    // The application updater's two commands follow the shared updater's state.
    KestovanUpdates& updates = KestovanUpdates::shared();
    updates.setAlert([window = QPointer<RootView>(this)](const QString& message, const QString& informative) {
        auto* box = new QMessageBox(QMessageBox::Information, message, message, QMessageBox::Ok, window);
        box->setObjectName(QStringLiteral("updateAlert"));
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setInformativeText(informative);
        box->open();
    });
    QAction* check = menu->addAction(QStringLiteral("Check for Updates…"));
    check->setObjectName(QStringLiteral("checkForUpdatesAction"));
    check->setMenuRole(QAction::NoRole);
    check->setEnabled(updates.canCheck());
    connect(check, &QAction::triggered, &updates, &KestovanUpdates::check);
    connect(&updates, &KestovanUpdates::canCheckChanged, check,
            [check, &updates] { check->setEnabled(updates.canCheck()); });
    QAction* automatic = menu->addAction(QStringLiteral("Check for Updates Automatically"));
    automatic->setObjectName(QStringLiteral("automaticUpdatesAction"));
    automatic->setCheckable(true);
    automatic->setChecked(updates.automaticChecks());
    connect(automatic, &QAction::toggled, &updates, [&updates](bool on) {
        if (on != updates.automaticChecks())
            updates.setAutomaticChecks(on);
    });
    connect(&updates, &KestovanUpdates::automaticChecksChanged, automatic, [automatic, &updates] {
        const QSignalBlocker block(automatic);
        automatic->setChecked(updates.automaticChecks());
    });
    QAction* pools = menu->addAction(QStringLiteral("Check Question Pool Updates"));
    pools->setObjectName(QStringLiteral("checkPoolUpdatesAction"));
    connect(pools, &QAction::triggered, this, [this] { m_store.checkUpdates(); });
    menu->addSeparator();
    QAction* quit = menu->addAction(QStringLiteral("Quit"));
    quit->setObjectName(QStringLiteral("quitAction"));
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setMenuRole(QAction::NoRole);
    connect(quit, &QAction::triggered, qApp, &QApplication::quit, Qt::QueuedConnection);
}

void RootView::addAppearanceMenu(Appearance& appearance)
{
    QMenu* view = menuBar()->addMenu(QStringLiteral("View"));
    view->setObjectName(QStringLiteral("viewMenu"));
    QMenu* choices = view->addMenu(QStringLiteral("Appearance"));
    choices->setObjectName(QStringLiteral("appearanceMenu"));
    auto* group = new QActionGroup(choices);
    group->setExclusive(true);
    for (Appearance::Mode mode : Appearance::modes) {
        QAction* action = choices->addAction(Appearance::title(mode));
        action->setObjectName(QStringLiteral("appearance") + Appearance::title(mode));
        action->setCheckable(true);
        action->setChecked(appearance.mode() == mode);
        group->addAction(action);
        connect(action, &QAction::triggered, &appearance, [&appearance, mode] { appearance.setMode(mode); });
    }
    connect(&appearance, &Appearance::modeChanged, group, [group, &appearance] {
        const QList<QAction*> actions = group->actions();
        for (qsizetype i = 0; i < actions.size(); ++i)
            actions[i]->setChecked(Appearance::modes[i] == appearance.mode());
    });
}

void RootView::setTab(const QString& tab)
{
    m_tab = tab;
    // Unknown identifiers show the Learn screen, so they share its page.
    const QString page = sections().contains(tab) ? tab : QStringLiteral("Learn");
    QWidget* area = m_sectionPages.value(page);
    if (!area) {
        area = scrolling(m_sectionStack, [&](QWidget* holder) {
            QWidget* content = makeSection(page, m_store, holder);
            content->setObjectName(QStringLiteral("sectionContent"));
            return content;
        });
        area->setObjectName(QStringLiteral("sectionArea-") + QString(page).remove(QLatin1Char(' ')));
        m_sectionPages.insert(page, area);
    }
    m_sectionStack->setCurrentWidget(area);
    for (QAbstractButton* button : m_sidebar->buttons())
        button->setChecked(button->text() == page);
}

QWidget* RootView::currentBody() const
{
    return m_body->currentWidget();
}

QWidget* RootView::currentSection() const
{
    auto* area = qobject_cast<QScrollArea*>(m_sectionStack->currentWidget());
    return area ? area->widget()->findChild<QWidget*>(QStringLiteral("sectionContent")) : nullptr;
}

void RootView::refreshProfiles()
{
    const QSignalBlocker block(m_profilePicker);
    m_profilePicker->clear();
    const QUuid current = m_store.profile().id;
    for (const Profile& profile : m_store.saved().profiles) {
        m_profilePicker->addItem(profile.name, profile.id);
        if (profile.id == current)
            m_profilePicker->setCurrentIndex(m_profilePicker->count() - 1);
    }
}

void RootView::refreshBanner()
{
    const auto& release = m_store.availableRelease();
    m_banner->setVisible(release.has_value());
    if (release)
        m_bannerText->setText(QStringLiteral("Aerowen ") + release->version + QStringLiteral(" is available."));
}

void RootView::refreshBody()
{
    const bool busy = m_store.session().has_value() || m_store.result().has_value();
    m_profilePicker->setEnabled(!busy);

    if (m_store.session()) {
        if (!m_exam) {
            m_exam = new ExamView(m_store, m_body);
            m_body->addWidget(m_exam);
        }
        m_body->setCurrentWidget(m_exam);
    } else if (m_exam) {
        // The exam screen may be the sender of this change (Leave, Submit): remove it once its handler returns.
        m_body->removeWidget(m_exam);
        m_exam->deleteLater();
        m_exam = nullptr;
    }

    if (!m_store.session() && m_store.result()) {
        if (m_resultView && m_resultView->result().id != m_store.result()->id) {
            m_body->removeWidget(m_resultView);
            m_resultView->deleteLater();
            m_resultView = nullptr;
        }
        if (!m_resultView) {
            m_resultView = new ResultView(m_store, *m_store.result(), m_body);
            m_body->addWidget(m_resultView);
        }
        m_body->setCurrentWidget(m_resultView);
    } else if (m_resultView && !m_store.result()) {
        m_body->removeWidget(m_resultView);
        m_resultView->deleteLater();
        m_resultView = nullptr;
    }

    if (!m_store.session() && !m_store.result())
        m_body->setCurrentWidget(m_sectionsPage);
}

void RootView::showMessage()
{
    const QString message = m_store.message();
    if (message.isEmpty()) {
        if (m_alert)
            m_alert->done(QMessageBox::Ok);
        return;
    }
    if (m_alert) {
        m_alert->setText(message);
        return;
    }
    auto* box =
        new QMessageBox(QMessageBox::NoIcon, QStringLiteral("Kestovan Aerowen"), message, QMessageBox::NoButton, this);
    box->setObjectName(QStringLiteral("statusAlert"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    // An unreadable progress file was kept: the alert says where, and opens that folder.
    if (const auto& copy = m_store.recoveryCopy()) {
        const QString folder = QDir::toNativeSeparators(m_store.folder());
        box->setInformativeText(QStringLiteral("The unreadable file was kept as “") + *copy +
                                QStringLiteral("” in the folder ") + folder + QStringLiteral("."));
        QPushButton* open = box->addButton(QStringLiteral("Open Folder"), QMessageBox::ActionRole);
        open->setObjectName(QStringLiteral("statusAlertOpenFolder"));
        connect(open, &QPushButton::clicked, this,
                [folder = m_store.folder()] { QDesktopServices::openUrl(QUrl::fromLocalFile(folder)); });
    }
    QPushButton* ok = box->addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
    ok->setObjectName(QStringLiteral("statusAlertOK"));
    box->setEscapeButton(ok);
    box->setWindowModality(Qt::WindowModal);
    // Any dismissal clears the message, which is what hides the alert for good.
    connect(box, &QMessageBox::finished, this, [this] {
        m_alert = nullptr;
        if (!m_store.message().isEmpty())
            m_store.setMessage(QString());
    });
    m_alert = box;
    box->open();
}

void RootView::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    if (m_launched)
        return;
    m_launched = true;
    m_daily->start();
    QTimer::singleShot(0, this, &RootView::runChecks);
}

bool RootView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        auto* button = qobject_cast<QAbstractButton*>(watched);
        // Dialogs press their default button on Enter themselves.
        if (button && (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) &&
            key->modifiers() == Qt::NoModifier && button->hasFocus() && button->isEnabled() &&
            !qobject_cast<QDialog*>(button->window()) && button->window() == window()) {
            button->click();
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void RootView::runChecks()
{
    // The release check waits for the pool check to finish; a pool check that ends at once (nothing to do, or one
    // already running) is recognised by the store no longer checking right after the call.
    auto waiting = std::make_shared<QMetaObject::Connection>();
    *waiting = connect(&m_store, &Store::updateCheckFinished, this, [this, waiting] {
        disconnect(*waiting);
        m_store.checkApplicationUpdates();
    });
    m_store.checkUpdates();
    if (*waiting && !m_store.checking()) {
        disconnect(*waiting);
        m_store.checkApplicationUpdates();
    }
}

AerowenApp::AerowenApp(QApplication& app)
{
    m_appearance = std::make_unique<Appearance>(app);
    app.setQuitOnLastWindowClosed(true);
    // The first text laid out needs the desktop's font list and the default font. Reading them now overlaps with
    // the built-in pack, which is still decoding on another core when the store below asks for it.
    QFontMetrics(QApplication::font()).height();
    m_store = std::make_unique<Store>();
    m_root = std::make_unique<RootView>(*m_store);
    m_root->addAppearanceMenu(*m_appearance);
    // Quitting saves the draft first and waits for the progress file to be written, then stops every background
    // check (child processes killed, recognition abandoned, requests aborted) instead of waiting for it, so the
    // process ends within a second.
    connect(&app, &QCoreApplication::aboutToQuit, this, [this] {
        m_store->persistDraft();
        m_store->shutDown(600);
        if (Updater* updater = KestovanUpdates::shared().updater())
            updater->shutDown(300);
    });
    // A session manager asks for the learner's data before it ends the session.
    connect(&app, &QGuiApplication::commitDataRequest, this, [this] {
        m_store->persistDraft();
        m_store->flush();
    });
    m_root->show();
}

AerowenApp::~AerowenApp()
{
    signalCancellation.store(nullptr);
}

void AerowenApp::handleTerminationSignals()
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0)
        return;
    signalCancellation.store(&m_store->cancellation());
    auto* notifier = new QSocketNotifier(signalPipe[1], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [notifier] {
        char byte = 0;
        [[maybe_unused]] const auto got = ::read(signalPipe[1], &byte, 1);
        notifier->setEnabled(false);
        QCoreApplication::quit();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(sig, &action, nullptr);
}
