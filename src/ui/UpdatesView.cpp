// The "Updates" section.
#include "UpdatesView.h"

#include "DiagramReviewView.h"
#include "SectionWidgets.h"
#include "appupdate/KestovanUpdates.h"
#include "store/Store.h"
#include "updater/OfficialUpdates.h"

#include <Config.h>
#include <QDesktopServices>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace SectionWidgets;

namespace {

// The pool's own document when its source is an https address on the official site, else the site's home page.
// The stored source is the published address, already percent-encoded: it is opened as it is, never escaped again.
QUrl sourceLink(const Pool& pool)
{
    const QUrl url(pool.source, QUrl::StrictMode);
    const QString host = OfficialUpdates::officialHost();
    const bool official = url.isValid() && url.scheme() == QLatin1StringView("https") &&
                          (url.host() == host || url.host() == QStringLiteral("www.") + host) &&
                          url.userInfo().isEmpty() && url.port(-1) == OfficialUpdates::officialPort().value_or(-1);
    return official ? url : OfficialUpdates::officialRoot();
}

QFrame* poolBlock(const Pool& pool, QWidget* parent)
{
    QVBoxLayout* layout = nullptr;
    QFrame* frame = card(parent, &layout);
    frame->setObjectName(QStringLiteral("installedPool-") + pool.id);
    layout->setSpacing(4);
    layout->addWidget(heading(pool.name, frame));
    QLabel* counts =
        body(QString::number(pool.questions.size()) + QStringLiteral(" questions · Revision ") + pool.revision, frame);
    counts->setObjectName(QStringLiteral("poolCounts"));
    layout->addWidget(counts);
    QLabel* period = note(QStringLiteral("Effective ") + pool.validFrom + QStringLiteral(" to ") + pool.validUntil +
                              QStringLiteral(" (exclusive)"),
                          frame);
    period->setObjectName(QStringLiteral("poolPeriod"));
    layout->addWidget(period);
    const QUrl url = sourceLink(pool);
    auto* link = new QLabel(QStringLiteral("<a href=\"%1\">Official NCVEC Source</a>")
                                .arg(url.toString(QUrl::FullyEncoded).toHtmlEscaped()),
                            frame);
    name(link, QStringLiteral("officialSource"), QStringLiteral("Official NCVEC Source"));
    link->setProperty("url", url);
    link->setTextFormat(Qt::RichText);
    link->setTextInteractionFlags(Qt::TextBrowserInteraction);
    // Opens the checked address itself, not a re-read of the link text.
    QObject::connect(link, &QLabel::linkActivated, link, [url] { QDesktopServices::openUrl(url); });
    layout->addWidget(link);
    return frame;
}

} // namespace

UpdatesView::UpdatesView(Store& store, QWidget* parent) : QWidget(parent), m_store(store)
{
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(20, 20, 20, 20);
    m_layout->setSpacing(12);
    m_layout->addWidget(title(QStringLiteral("Question Pools & Updates"), this));

    m_status = body(QString(), this);
    m_status->setObjectName(QStringLiteral("updateStatus"));
    m_layout->addWidget(m_status);

    // The screen's items stand 12 apart, the review button from the check buttons too.
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(12);
    m_review = new QPushButton(QStringLiteral("Review Diagrams"), this);
    name(m_review, QStringLiteral("reviewDiagrams"), QStringLiteral("Review Diagrams"));
    makePrimary(m_review);
    m_check = new QPushButton(this);
    m_check->setObjectName(QStringLiteral("checkQuestionUpdates"));
    auto* sample = new QPushButton(QStringLiteral("Test Diagram Review"), this);
    name(sample, QStringLiteral("testDiagramReview"), QStringLiteral("Test Diagram Review"));
    buttons->addWidget(m_review);
    buttons->addWidget(m_check);
    buttons->addWidget(sample);
    buttons->addStretch(1);
    m_layout->addLayout(buttons);

    m_layout->addWidget(note(
        QStringLiteral("Checks run at launch and daily while the app is open. Updates come directly from NCVEC over "
                       "HTTPS. Questions, answer keys, group counts and diagram labels are validated before "
                       "installation. An active session keeps its original questions."),
        this));

    m_pools = new QWidget(this);
    m_layout->addWidget(m_pools);

    QVBoxLayout* appLayout = nullptr;
    QFrame* app = card(this, &appLayout);
    QLabel* appLine = heading(QStringLiteral("Kestovan Aerowen ") + QString::fromUtf8(Config::version) +
                                  QStringLiteral(" · ") + QString::fromUtf8(Config::processor),
                              app);
    appLine->setObjectName(QStringLiteral("applicationLine"));
    appLayout->addWidget(appLine);
    auto* appCheck = new QPushButton(QStringLiteral("Check for App Updates…"), app);
    name(appCheck, QStringLiteral("checkAppUpdates"), QStringLiteral("Check for App Updates…"));
    auto* appRow = new QHBoxLayout;
    appRow->addWidget(appCheck);
    appRow->addStretch(1);
    appLayout->addLayout(appRow);
    m_layout->addWidget(app);

    m_layout->addWidget(caption(QStringLiteral("Official NCVEC question pools are public-domain material. Kestovan is "
                                               "independent of the FCC, NCVEC and ARRL."),
                                this));
    m_layout->addStretch(1);

    connect(m_review, &QPushButton::clicked, this, &UpdatesView::openReview);
    connect(m_check, &QPushButton::clicked, this, [this] { m_store.checkUpdates(); });
    connect(sample, &QPushButton::clicked, this, &UpdatesView::openSample);
    connect(appCheck, &QPushButton::clicked, this, [] { KestovanUpdates::shared().check(); });
    connect(&m_store, &Store::updateStatusChanged, this, &UpdatesView::showStatus);
    connect(&m_store, &Store::checkingChanged, this, &UpdatesView::showStatus);
    connect(&m_store, &Store::diagramReviewChanged, this, &UpdatesView::showStatus);
    connect(&m_store, &Store::packChanged, this, &UpdatesView::showPools);
    showStatus();
    showPools();
}

void UpdatesView::showStatus()
{
    m_status->setText(m_store.updateStatus());
    m_review->setVisible(m_store.diagramReview().has_value());
    const bool checking = m_store.checking();
    m_check->setText(checking ? QStringLiteral("Checking…") : QStringLiteral("Check for Question Updates"));
    m_check->setAccessibleName(m_check->text());
    m_check->setEnabled(!checking);
}

void UpdatesView::showPools()
{
    auto* pools = new QWidget(this);
    auto* layout = new QVBoxLayout(pools);
    layout->setContentsMargins(0, 4, 0, 4);
    layout->setSpacing(10);
    for (const Pool& pool : m_store.pack().pools)
        layout->addWidget(poolBlock(pool, pools));
    replace(m_layout, m_pools, pools);
}

void UpdatesView::openReview()
{
    if (const auto& review = m_store.diagramReview())
        openSheet(*review);
}

void UpdatesView::openSample()
{
    // A missing sample figure is reported through the store's message.
    if (const auto review = m_store.demoDiagramReview())
        openSheet(*review);
}

void UpdatesView::openSheet(const DiagramReview& review)
{
    if (m_sheet)
        return;
    m_sheet = new DiagramReviewView(m_store, review, this);
    m_sheet->setAttribute(Qt::WA_DeleteOnClose);
    m_sheet->open();
}
