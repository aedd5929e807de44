// The progress charts.
#include "Charts.h"

#include "SectionWidgets.h"
#include "Theme.h"
#include "store/Results.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QEvent>
#include <QFontDatabase>
#include <QHash>
#include <QHelpEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QToolTip>
#include <QVBoxLayout>

namespace {

constexpr double weakLine = 0.8;
constexpr int barThickness = 10;
constexpr int titleWidth = 220;
constexpr int pointRadius = 4;
// More points than this would crowd a chart that must stay readable at the smallest window.
constexpr qsizetype chartedScores = 30;

// Asking the platform for its fixed font is slow; every bar uses the same one.
const QFont& codeFont()
{
    static const QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    return font;
}

// A label in the caption style that says what a chart shows.
QLabel* legend(const QString& text, QWidget* parent, const QString& objectName)
{
    QLabel* label = SectionWidgets::caption(text, parent);
    label->setObjectName(objectName);
    return label;
}

} // namespace

// What assistive tools see of a subelement chart: the chart, and one item per bar named after its subelement and
// described by its figures. The bars are painted, not widgets, so that a pool's chart costs one widget, not ten.
class BarAccessible : public QAccessibleInterface
{
public:
    BarAccessible(SubelementChart* chart, qsizetype index) : m_chart(chart), m_index(index) {}

    bool isValid() const override { return m_chart && m_index < m_chart->bars().size(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return m_chart ? m_chart->window()->windowHandle() : nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(m_chart); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QString text(QAccessible::Text t) const override
    {
        if (!isValid())
            return {};
        const SubelementBar& bar = m_chart->bars().at(m_index);
        if (t == QAccessible::Name)
            return bar.code + QLatin1Char(' ') + bar.title;
        if (t == QAccessible::Description)
            return bar.description();
        return {};
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect row = m_chart->rowRect(m_index);
        return QRect(m_chart->mapToGlobal(row.topLeft()), row.size());
    }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invisible = !m_chart || !m_chart->isVisible();
        state.readOnly = true;
        return state;
    }

private:
    QPointer<SubelementChart> m_chart;
    qsizetype m_index;
};

class ChartAccessible : public QAccessibleWidget
{
public:
    explicit ChartAccessible(SubelementChart* chart) : QAccessibleWidget(chart, QAccessible::Chart)
    {
        for (qsizetype i = 0; i < chart->bars().size(); ++i)
            m_bars.append(QAccessible::registerAccessibleInterface(new BarAccessible(chart, i)));
    }
    ~ChartAccessible() override
    {
        for (const QAccessible::Id id : std::as_const(m_bars))
            QAccessible::deleteAccessibleInterface(id);
    }
    int childCount() const override { return int(m_bars.size()); }
    QAccessibleInterface* child(int index) const override
    {
        return index >= 0 && index < m_bars.size() ? QAccessible::accessibleInterface(m_bars.at(index)) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        for (qsizetype i = 0; i < m_bars.size(); ++i) {
            if (QAccessible::accessibleInterface(m_bars.at(i)) == child)
                return int(i);
        }
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        auto* chart = static_cast<SubelementChart*>(widget());
        const qsizetype row = chart->rowAt(chart->mapFromGlobal(QPoint(x, y)));
        return row < 0 ? nullptr : child(int(row));
    }

private:
    QList<QAccessible::Id> m_bars;
};

SubelementChart::SubelementChart(const QList<SubelementBar>& bars, QWidget* parent) : QWidget(parent), m_bars(bars)
{
    static const bool factory = [] {
        QAccessible::installFactory([](const QString& key, QObject* object) -> QAccessibleInterface* {
            auto* chart = qobject_cast<SubelementChart*>(object);
            return key == QLatin1StringView("SubelementChart") && chart ? new ChartAccessible(chart) : nullptr;
        });
        return true;
    }();
    Q_UNUSED(factory);
    setObjectName(QStringLiteral("subelementChart"));
    setAccessibleName(QStringLiteral("Accuracy by subelement"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    // Measured once: layouts ask for the size hints many times, and every row has the same columns.
    static const int codeWidth = QFontMetrics(codeFont()).horizontalAdvance(QStringLiteral("T0")) + 10;
    m_codeWidth = codeWidth;
    m_figuresWidth = fontMetrics().horizontalAdvance(QStringLiteral("100% · 9999 answers"));
    m_rowHeight = fontMetrics().height() + 8;
    Theme::whenChanged(this, [this] { update(); });
}

QString SubelementChart::figures(const SubelementBar& bar)
{
    if (bar.attempts == 0)
        return QStringLiteral("Not studied");
    return QStringLiteral("%1% · %2 answers").arg(bar.percent()).arg(bar.attempts);
}

QRect SubelementChart::rowRect(qsizetype index) const
{
    return QRect(0, int(index) * m_rowHeight, width(), m_rowHeight);
}

qsizetype SubelementChart::rowAt(const QPoint& position) const
{
    if (position.x() < 0 || position.x() >= width() || position.y() < 0)
        return -1;
    const qsizetype row = position.y() / m_rowHeight;
    return row < m_bars.size() ? row : -1;
}

QSize SubelementChart::sizeHint() const
{
    return {480, int(m_bars.size()) * m_rowHeight};
}

QSize SubelementChart::minimumSizeHint() const
{
    // Code, a shortened title, a bar that still shows its 80 % line, and the figures whole.
    return {m_codeWidth + 60 + 80 + m_figuresWidth + 16, sizeHint().height()};
}

bool SubelementChart::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        const qsizetype row = rowAt(help->pos());
        if (row < 0) {
            QToolTip::hideText();
            event->ignore();
        } else {
            QToolTip::showText(help->globalPos(), m_bars.at(row).description(), this, rowRect(row));
        }
        return true;
    }
    return QWidget::event(event);
}

void SubelementChart::paintEvent(QPaintEvent*)
{
    const Theme::Colors& c = Theme::colors();
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QFontMetrics fm = fontMetrics();
    const int title = std::clamp(int(width() * 0.3), 60, titleWidth);
    const int trackLeft = m_codeWidth + title;
    const double trackWidth = std::max(0, width() - trackLeft - m_figuresWidth - 12);
    for (qsizetype i = 0; i < m_bars.size(); ++i) {
        const SubelementBar& bar = m_bars.at(i);
        const QRect row = rowRect(i);
        p.setFont(codeFont());
        p.setPen(c.text);
        p.drawText(QRect(0, row.top(), m_codeWidth, row.height()), Qt::AlignLeft | Qt::AlignVCenter, bar.code);
        p.setFont(font());
        const QRect titleRect(m_codeWidth, row.top(), title - 8, row.height());
        p.drawText(titleRect, Qt::AlignLeft | Qt::AlignVCenter,
                   fm.elidedText(bar.title, Qt::ElideRight, titleRect.width()));
        p.setPen(c.secondaryText);
        p.drawText(QRect(row.width() - m_figuresWidth, row.top(), m_figuresWidth, row.height()),
                   Qt::AlignRight | Qt::AlignVCenter, figures(bar));

        const QRectF track(trackLeft, row.top() + (row.height() - barThickness) / 2.0, trackWidth, barThickness);
        p.setPen(Qt::NoPen);
        p.setBrush(c.track);
        p.drawRoundedRect(track, barThickness / 2.0, barThickness / 2.0);
        if (bar.attempts > 0) {
            QRectF fill = track;
            fill.setWidth(std::max(double(barThickness), track.width() * double(bar.correct) / double(bar.attempts)));
            p.setBrush(bar.weak ? c.warning : c.success);
            p.drawRoundedRect(fill, barThickness / 2.0, barThickness / 2.0);
        }
    }
    // One line down the whole chart at 80 % of the track.
    const double x = std::round(trackLeft + trackWidth * weakLine) + 0.5;
    p.setPen(QPen(c.text, 1.5, Qt::DashLine));
    p.drawLine(QPointF(x, 0), QPointF(x, height()));
}

ScoreChart::ScoreChart(const QList<Point>& points, std::optional<double> mark, const QString& markLabel, int height,
                       QWidget* parent)
    : QWidget(parent), m_points(points), m_mark(mark), m_markLabel(markLabel), m_height(height)
{
    setAccessibleDescription(description());
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setMouseTracking(true);
    Theme::whenChanged(this, [this] { update(); });
}

QList<ScoreChart::Point> ScoreChart::points(const QList<ScorePoint>& scores)
{
    QList<Point> list;
    const QLocale locale = QLocale::system();
    // Several attempts are often finished on one day; each day's date is formatted once.
    QHash<QDate, QString> dates;
    for (const ScorePoint& s : scores) {
        const QDate day = Dates::toDateTime(s.finished).toLocalTime().date();
        auto date = dates.constFind(day);
        if (date == dates.cend())
            date = dates.insert(day, SectionWidgets::abbreviatedDate(day, locale));
        list.append({s.fraction(), s.passed, *date, QStringLiteral("%1/%2").arg(s.score).arg(s.questions)});
    }
    return list;
}

QString ScoreChart::description() const
{
    QStringList parts;
    for (const Point& p : m_points)
        parts << p.date + QStringLiteral(": ") + p.figure;
    QString text = parts.join(QStringLiteral("; "));
    if (m_mark)
        text += QStringLiteral(". ") + m_markLabel;
    return text;
}

QSize ScoreChart::sizeHint() const
{
    return {480, m_height};
}

QSize ScoreChart::minimumSizeHint() const
{
    return {200, m_height};
}

QRectF ScoreChart::plot() const
{
    const QFontMetrics fm(Theme::captionFont(const_cast<ScoreChart*>(this)));
    const double left = fm.horizontalAdvance(QStringLiteral("100%")) + 8;
    return QRectF(left, fm.height() / 2.0 + 2, width() - left - pointRadius - 2, height() - fm.height() * 1.5 - 8);
}

QPointF ScoreChart::position(qsizetype index, const QRectF& plotArea) const
{
    const QRectF area = plotArea.adjusted(pointRadius + 2, 0, -pointRadius - 2, 0);
    const double x = m_points.size() == 1 ? area.center().x()
                                          : area.left() + area.width() * double(index) / double(m_points.size() - 1);
    return {x, area.bottom() - area.height() * std::clamp(m_points.at(index).fraction, 0.0, 1.0)};
}

qsizetype ScoreChart::pointAt(const QPoint& at) const
{
    qsizetype nearest = -1;
    double best = 0;
    const QRectF area = plot();
    for (qsizetype i = 0; i < m_points.size(); ++i) {
        const QPointF d = position(i, area) - QPointF(at);
        // Close enough horizontally: a learner points at a column of the chart more than at a dot.
        const double distance = std::abs(d.x()) + std::abs(d.y()) / 4;
        if (distance <= 12 && (nearest < 0 || distance < best)) {
            nearest = i;
            best = distance;
        }
    }
    return nearest;
}

bool ScoreChart::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        const qsizetype i = pointAt(help->pos());
        if (i < 0) {
            QToolTip::hideText();
            event->ignore();
        } else {
            const Point& p = m_points.at(i);
            QToolTip::showText(help->globalPos(), p.date + QStringLiteral(": ") + p.figure, this);
        }
        return true;
    }
    return QWidget::event(event);
}

void ScoreChart::paintEvent(QPaintEvent*)
{
    const Theme::Colors& c = Theme::colors();
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QFont small = Theme::captionFont(this);
    p.setFont(small);
    const QFontMetrics fm(small);
    const QRectF area = plot();

    // Grid at 0, 50 and 100 %, labelled on the left.
    for (const int percent : {0, 50, 100}) {
        const double y = std::round(area.bottom() - area.height() * percent / 100.0) + 0.5;
        p.setPen(QPen(c.divider, 1));
        p.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
        p.setPen(c.secondaryText);
        p.drawText(QRectF(0, y - fm.height() / 2.0, area.left() - 6, fm.height()), Qt::AlignRight | Qt::AlignVCenter,
                   QStringLiteral("%1%").arg(percent));
    }
    if (m_mark) {
        const double y = std::round(area.bottom() - area.height() * *m_mark) + 0.5;
        // Named in the legend above the chart, where no point can cover its label.
        p.setPen(QPen(c.text, 1.5, Qt::DashLine));
        p.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
    }
    if (m_points.isEmpty())
        return;

    QPainterPath line;
    for (qsizetype i = 0; i < m_points.size(); ++i) {
        if (i == 0)
            line.moveTo(position(i, area));
        else
            line.lineTo(position(i, area));
    }
    p.setPen(QPen(c.accent, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(line);
    for (qsizetype i = 0; i < m_points.size(); ++i) {
        p.setPen(QPen(c.surface, 1.5));
        p.setBrush(m_points.at(i).passed ? c.success : c.warning);
        p.drawEllipse(position(i, area), pointRadius, pointRadius);
    }

    // The first and last dates under the ends of the series.
    p.setPen(c.secondaryText);
    const QRectF dates(area.left(), height() - fm.height() - 2, area.width(), fm.height());
    p.drawText(dates, m_points.size() == 1 ? Qt::AlignHCenter : Qt::AlignLeft, m_points.first().date);
    if (m_points.size() > 1)
        p.drawText(dates, Qt::AlignRight, m_points.last().date);
}

QWidget* poolCharts(const Pool& pool, const Saved& saved, const QUuid& profile, QWidget* parent)
{
    auto* charts = new QWidget(parent);
    charts->setObjectName(QStringLiteral("poolCharts"));
    auto* layout = new QVBoxLayout(charts);
    layout->setContentsMargins(0, 4, 0, 4);
    layout->setSpacing(6);
    layout->addWidget(legend(QStringLiteral("Accuracy by subelement. The dashed line marks 80 %; orange bars need "
                                            "practice, green ones are at or above the line."),
                             charts, QStringLiteral("subelementLegend")));
    layout->addWidget(new SubelementChart(subelementBars(pool, saved.stats, profile), charts));
    const QList<Result> fresh = freshExams(saved.results, pool.id, profile);
    if (!fresh.isEmpty()) {
        const QList<ScorePoint> scores = scorePoints(fresh, chartedScores);
        layout->addWidget(legend(QStringLiteral("Fresh exam scores, the last %1. The dashed line is the pass mark, "
                                                "%2/%3; green points passed.")
                                     .arg(scores.size())
                                     .arg(pool.passCount)
                                     .arg(pool.examCount),
                                 charts, QStringLiteral("examScoresLegend")));
        const double mark = pool.examCount > 0 ? double(pool.passCount) / double(pool.examCount) : 0;
        auto* chart =
            new ScoreChart(ScoreChart::points(scores), mark,
                           QStringLiteral("Pass mark %1/%2").arg(pool.passCount).arg(pool.examCount), 150, charts);
        chart->setObjectName(QStringLiteral("examScores"));
        chart->setAccessibleName(QStringLiteral("Fresh exam scores"));
        layout->addWidget(chart);
    }
    return charts;
}

QWidget* historyTrend(const QList<Result>& newestFirst, QWidget* parent)
{
    // A single attempt makes no trend.
    if (newestFirst.size() < 2)
        return nullptr;
    QList<Result> oldestFirst(newestFirst.crbegin(), newestFirst.crend());
    const QList<ScorePoint> scores = scorePoints(oldestFirst, chartedScores);
    auto* trend = new QWidget(parent);
    trend->setObjectName(QStringLiteral("historyTrend"));
    auto* layout = new QVBoxLayout(trend);
    layout->setContentsMargins(0, 0, 0, 4);
    layout->setSpacing(4);
    layout->addWidget(legend(QStringLiteral("Score trend of your last %1 attempts, as a share of the questions. "
                                            "Green points reached the pool's pass mark.")
                                 .arg(scores.size()),
                             trend, QStringLiteral("historyTrendLegend")));
    auto* chart = new ScoreChart(ScoreChart::points(scores), std::nullopt, QString(), 110, trend);
    chart->setObjectName(QStringLiteral("historyScores"));
    chart->setAccessibleName(QStringLiteral("Score trend"));
    layout->addWidget(chart);
    return trend;
}
