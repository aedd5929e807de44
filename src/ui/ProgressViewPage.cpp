// The "Progress" section.
#include "ProgressViewPage.h"

#include "Charts.h"
#include "ReviewLabels.h"
#include "SectionWidgets.h"
#include "store/Results.h"
#include "store/Store.h"

#include <QFontDatabase>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

using namespace SectionWidgets;

namespace {

QFrame* poolCard(const PoolProgress& progress, const Store& store, QWidget* parent)
{
    QVBoxLayout* layout = nullptr;
    QFrame* frame = card(parent, &layout);
    frame->setObjectName(QStringLiteral("progressPool-") + progress.pool.id);
    layout->addWidget(heading(progress.pool.name, frame));

    QLabel* coverage = body(progress.coverage, frame);
    coverage->setObjectName(QStringLiteral("coverage"));
    layout->addWidget(coverage);
    auto* bar = new QProgressBar(frame);
    bar->setObjectName(QStringLiteral("coverageBar"));
    bar->setAccessibleName(progress.coverage);
    bar->setTextVisible(false);
    bar->setRange(0, int(std::max<qint64>(progress.total, 1)));
    bar->setValue(int(progress.studied));
    layout->addWidget(bar);

    QLabel* readiness = body(progress.readiness, frame);
    readiness->setObjectName(QStringLiteral("readiness"));
    layout->addWidget(readiness);
    layout->addWidget(ReviewLabels::prediction(store, progress.pool, frame));
    QLabel* note = caption(progress.caption, frame);
    note->setObjectName(QStringLiteral("readinessCaption"));
    layout->addWidget(note);
    layout->addWidget(poolCharts(progress.pool, store.saved(), store.profile().id, frame));

    auto* groups = new QWidget(frame);
    auto* grid = new QGridLayout(groups);
    grid->setContentsMargins(0, 6, 0, 0);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(5);
    grid->setColumnStretch(1, 1);
    const QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    int row = 0;
    for (const GroupRow& g : progress.rows) {
        auto* code = plain(g.group, groups);
        code->setObjectName(QStringLiteral("groupCode-") + g.group);
        code->setFont(mono);
        auto* topic = plain(g.topic, groups);
        topic->setObjectName(QStringLiteral("groupTopic-") + g.group);
        auto* accuracy = plain(g.accuracy, groups);
        accuracy->setObjectName(QStringLiteral("groupAccuracy-") + g.group);
        accuracy->setProperty("role", QStringLiteral("note"));
        accuracy->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        grid->addWidget(code, row, 0);
        grid->addWidget(topic, row, 1);
        grid->addWidget(accuracy, row, 2);
        ++row;
    }
    layout->addWidget(groups);
    return frame;
}

} // namespace

ProgressViewPage::ProgressViewPage(Store& store, QWidget* parent) : SectionView(parent), m_store(store)
{
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(20, 20, 20, 20);
    m_layout->setSpacing(14);
    m_layout->addWidget(title(QStringLiteral("Progress & Readiness"), this));
    m_pools = new QWidget(this);
    m_layout->addWidget(m_pools);
    m_layout->addStretch(1);

    // Statistics and results live in saved; the pool list follows the pack and the learner's completed levels.
    connect(&m_store, &Store::savedChanged, this, &ProgressViewPage::storeChanged);
    connect(&m_store, &Store::packChanged, this, &ProgressViewPage::storeChanged);
    redraw();
}

void ProgressViewPage::redraw()
{
    auto* pools = new QWidget(this);
    auto* layout = new QVBoxLayout(pools);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    const Profile learner = m_store.profile();
    for (const PoolProgress& p : progress(m_store.studyPools(), m_store.saved(), learner.id))
        layout->addWidget(poolCard(p, m_store, pools));
    replace(m_layout, m_pools, pools);
}
