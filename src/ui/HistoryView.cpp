// The "History" section.
#include "HistoryView.h"

#include "Charts.h"
#include "SectionWidgets.h"
#include "store/Results.h"
#include "store/Store.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

using namespace SectionWidgets;

namespace {

// A button whose size is that of the texts laid out inside it, not of a button title.
class RowButton : public QPushButton
{
public:
    using QPushButton::QPushButton;
    QSize sizeHint() const override
    {
        return layout() ? layout()->sizeHint().expandedTo(QPushButton::sizeHint()) : QPushButton::sizeHint();
    }
    QSize minimumSizeHint() const override { return sizeHint(); }
};

// A whole row is one button; its texts are labels inside it that let clicks through.
QPushButton* row(const Result& r, QWidget* parent)
{
    auto* button = new RowButton(parent);
    button->setObjectName(QStringLiteral("historyRow"));
    button->setProperty("historyRow", true);
    button->setCursor(Qt::PointingHandCursor);
    const QString left = r.session.pool.name + QStringLiteral(" · ") + r.session.mode;
    const QString when = QLocale::system().toString(Dates::toDateTime(r.finished).toLocalTime(), QLocale::ShortFormat);
    const QString right =
        QStringLiteral("%1/%2 · ").arg(r.score()).arg(r.session.questions.size()) + duration(r.seconds);
    button->setAccessibleName(left + QStringLiteral(", ") + when + QStringLiteral(", ") + right);

    auto* layout = new QHBoxLayout(button);
    layout->setContentsMargins(14, 10, 14, 10);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    auto* title = plain(left, button);
    title->setObjectName(QStringLiteral("historyTitle"));
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    QLabel* date = caption(when, button);
    date->setObjectName(QStringLiteral("historyDate"));
    texts->addWidget(title);
    texts->addWidget(date);
    auto* score = plain(right, button);
    score->setObjectName(QStringLiteral("historyScore"));
    layout->addLayout(texts, 1);
    layout->addWidget(score);
    for (QLabel* label : {title, date, score})
        label->setAttribute(Qt::WA_TransparentForMouseEvents);
    return button;
}

} // namespace

HistoryView::HistoryView(Store& store, QWidget* parent) : SectionView(parent), m_store(store)
{
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(16, 16, 16, 16);
    m_layout->setSpacing(12);
    m_layout->addWidget(title(QStringLiteral("Exam & Practice History"), this));
    m_rows = new QWidget(this);
    m_layout->addWidget(m_rows);
    m_layout->addStretch(1);

    connect(&m_store, &Store::savedChanged, this, &HistoryView::storeChanged);
    redraw();
}

void HistoryView::redraw()
{
    auto* rows = new QWidget(this);
    auto* layout = new QVBoxLayout(rows);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    const QList<Result> results = history(m_store.saved().results, m_store.profile().id);
    if (results.isEmpty()) {
        QLabel* empty = note(QStringLiteral("Your completed attempts will appear here."), rows);
        empty->setObjectName(QStringLiteral("historyEmpty"));
        layout->addWidget(empty);
    }
    if (QWidget* trend = historyTrend(results, rows))
        layout->addWidget(trend);
    for (const Result& r : results) {
        QPushButton* button = row(r, rows);
        connect(button, &QPushButton::clicked, this, [this, r] { m_store.setResult(r); });
        layout->addWidget(button);
    }
    replace(m_layout, m_rows, rows);
}
