// The "Top 10" section.
#include "LeaderboardView.h"

#include "ElidedLabel.h"
#include "SectionWidgets.h"
#include "store/Results.h"
#include "store/Store.h"

#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QVBoxLayout>

using namespace SectionWidgets;

namespace {

QFrame* board(const Pool& pool, const QList<Result>& entries, QWidget* parent)
{
    QVBoxLayout* layout = nullptr;
    QFrame* frame = card(parent, &layout);
    frame->setObjectName(QStringLiteral("board-") + pool.id);
    layout->addWidget(heading(pool.name + QStringLiteral(" · ") + pool.id, frame));
    if (entries.isEmpty()) {
        QLabel* empty = note(emptyBoardText, frame);
        empty->setObjectName(QStringLiteral("boardEmpty"));
        layout->addWidget(empty);
        return frame;
    }
    auto* rows = new QWidget(frame);
    auto* grid = new QGridLayout(rows);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(6);
    grid->setColumnMinimumWidth(0, 24);
    grid->setColumnMinimumWidth(1, 180);
    grid->setColumnStretch(4, 1);
    for (int i = 0; i < entries.size(); ++i) {
        const Result& r = entries.at(i);
        const QStringList cells = {
            QString::number(i + 1),
            r.session.name,
            QStringLiteral("%1/%2").arg(r.score()).arg(r.session.questions.size()),
            duration(r.seconds),
            abbreviatedDate(Dates::toDateTime(r.finished).toLocalTime().date()),
        };
        static const QStringList roles = {QStringLiteral("rank"), QStringLiteral("name"), QStringLiteral("score"),
                                          QStringLiteral("time"), QStringLiteral("date")};
        for (int c = 0; c < cells.size(); ++c) {
            // Names are shortened with "…" to fit their column; the other cells are short.
            QLabel* cell = c == 1 ? new ElidedLabel(rows) : plain(QString(), rows);
            cell->setText(cells.at(c));
            cell->setObjectName(QStringLiteral("entry%1-%2").arg(i + 1).arg(roles.at(c)));
            if (c == 0) {
                cell->setFixedWidth(24);
                QFont bold = cell->font();
                bold.setBold(true);
                cell->setFont(bold);
            } else if (c == 1) {
                cell->setFixedWidth(180);
            } else if (c == 4) {
                cell->setProperty("role", QStringLiteral("note"));
            }
            grid->addWidget(cell, i, c);
        }
    }
    layout->addWidget(rows);
    return frame;
}

} // namespace

LeaderboardView::LeaderboardView(Store& store, QWidget* parent) : SectionView(parent), m_store(store)
{
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(20, 20, 20, 20);
    m_layout->setSpacing(14);
    m_layout->addWidget(title(QStringLiteral("Top 10"), this));
    m_layout->addWidget(note(QStringLiteral("Best attempt per name. Highest score first, fastest time second. "
                                            "Separate boards for each pool revision."),
                             this));
    m_code = new QLineEdit(this);
    const QString placeholder = QStringLiteral("Club challenge code — leave blank for ordinary exams");
    m_code->setPlaceholderText(placeholder);
    name(m_code, QStringLiteral("challengeCode"), placeholder);
    m_code->setFixedWidth(460);
    m_layout->addWidget(m_code);
    m_boards = new QWidget(this);
    m_layout->addWidget(m_boards);
    m_layout->addStretch(1);

    connect(m_code, &QLineEdit::textChanged, this, &LeaderboardView::redraw);
    connect(&m_store, &Store::savedChanged, this, &LeaderboardView::storeChanged);
    connect(&m_store, &Store::packChanged, this, &LeaderboardView::storeChanged);
    redraw();
}

QList<Pool> LeaderboardView::rankingPools(const Store& store)
{
    return ::rankingPools(store.pools(), store.saved().results,
                          store.profile().completedLevels.value_or(QSet<QString>()));
}

void LeaderboardView::redraw()
{
    auto* boards = new QWidget(this);
    auto* layout = new QVBoxLayout(boards);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    const QString code = boardChallengeCode(m_code->text());
    const QList<Result>& results = m_store.saved().results;
    for (const Pool& pool : rankingPools(m_store))
        layout->addWidget(board(pool, leaderboard(results, pool.id, code), boards));
    replace(m_layout, m_boards, boards);
}

void LeaderboardView::reset()
{
    m_code->clear();
}
