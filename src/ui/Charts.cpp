// The progress charts.
#include "Charts.h"

#include "SectionWidgets.h"
#include "Theme.h"
#include "store/Results.h"

#include <QEvent>
#include <QFontDatabase>
#include <QHelpEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <QVBoxLayout>

namespace {

constexpr double weakLine = 0.8;
constexpr int barThickness = 10;
constexpr int titleWidth = 220;
constexpr int pointRadius = 4;
// More points than this would crowd a chart that must stay readable at the smallest window.
constexpr qsizetype chartedScores = 30;

QFont codeFont()
{
    return QFontDatabase::systemFont(QFontDatabase::FixedFont);
}

// A label in the caption style that says what a chart shows.
QLabel* legend(const QString& text, QWidget* parent, const QString& objectName)
{
    QLabel* label = SectionWidgets::caption(text, parent);
    label->setObjectName(objectName);
    return label;
}

} // namespace

SubelementBarRow::SubelementBarRow(const SubelementBar& bar, QWidget* parent) : QWidget(parent), m_bar(bar)
{
    setObjectName(QStringLiteral("subelementBar-") + bar.code);
    setAccessibleName(bar.code + QLatin1Char(' ') + bar.title);
    setAccessibleDescription(bar.description());
    setToolTip(bar.description());
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    Theme::whenChanged(this, [this] { update(); });
}

QString SubelementBarRow::figures() const
{
    if (m_bar.attempts == 0)
        return QStringLiteral("Not studied");
    return QStringLiteral("%1% · %2 answers").arg(m_bar.percent()).arg(m_bar.attempts);
}

QSize SubelementBarRow::sizeHint() const
{
    return {480, fontMetrics().height() + 8};
}

QSize SubelementBarRow::minimumSizeHint() const
{
    // Code, a shortened title, a bar that still shows its 80 % line, and the figures whole.
    const int figures = fontMetrics().horizontalAdvance(QStringLiteral("100% · 9999 answers"));
    return {QFontMetrics(codeFont()).horizontalAdvance(QStringLiteral("T0")) + 10 + 60 + 80 + figures + 16,
            sizeHint().height()};
}

void SubelementBarRow::paintEvent(QPaintEvent*)
{
    const Theme::Colors& c = Theme::colors();
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QFontMetrics fm = fontMetrics();
    const int codeWidth = QFontMetrics(codeFont()).horizontalAdvance(QStringLiteral("T0")) + 10;
    const int figuresWidth = fm.horizontalAdvance(QStringLiteral("100% · 9999 answers"));
    const int title = std::clamp(int(width() * 0.3), 60, titleWidth);
    const QRect row = rect();

    p.setFont(codeFont());
    p.setPen(c.text);
    p.drawText(QRect(0, 0, codeWidth, row.height()), Qt::AlignLeft | Qt::AlignVCenter, m_bar.code);
    p.setFont(font());
    const QRect titleRect(codeWidth, 0, title - 8, row.height());
    p.drawText(titleRect, Qt::AlignLeft | Qt::AlignVCenter,
               fm.elidedText(m_bar.title, Qt::ElideRight, titleRect.width()));
    p.setPen(c.secondaryText);
    p.drawText(QRect(row.width() - figuresWidth, 0, figuresWidth, row.height()), Qt::AlignRight | Qt::AlignVCenter,
               figures());

    const QRectF track(codeWidth + title, (row.height() - barThickness) / 2.0,
                       std::max(0, row.width() - codeWidth - title - figuresWidth - 12), barThickness);
    p.setPen(Qt::NoPen);
    p.setBrush(c.track);
    p.drawRoundedRect(track, barThickness / 2.0, barThickness / 2.0);
    if (m_bar.attempts > 0) {
        QRectF fill = track;
        fill.setWidth(std::max(double(barThickness), track.width() * double(m_bar.correct) / double(m_bar.attempts)));
        p.setBrush(m_bar.weak ? c.warning : c.success);
        p.drawRoundedRect(fill, barThickness / 2.0, barThickness / 2.0);
    }
    // The line runs the whole height of the row, so that the rows' pieces join into one line down the chart.
    const double x = std::round(track.left() + track.width() * weakLine) + 0.5;
    p.setPen(QPen(c.text, 1.5, Qt::DashLine));
    p.drawLine(QPointF(x, 0), QPointF(x, row.height()));
}

SubelementChart::SubelementChart(const QList<SubelementBar>& bars, QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("subelementChart"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 4, 0, 4);
    layout->setSpacing(0);
    layout->addWidget(legend(QStringLiteral("Accuracy by subelement. The dashed line marks 80 %; orange bars need "
                                            "practice, green ones are at or above the line."),
                             this, QStringLiteral("subelementLegend")));
    layout->addSpacing(4);
    for (const SubelementBar& bar : bars)
        layout->addWidget(new SubelementBarRow(bar, this));
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
    for (const ScorePoint& s : scores) {
        const QDate day = Dates::toDateTime(s.finished).toLocalTime().date();
        list.append({s.fraction(), s.passed, SectionWidgets::abbreviatedDate(day),
                     QStringLiteral("%1/%2").arg(s.score).arg(s.questions)});
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

QPointF ScoreChart::position(qsizetype index) const
{
    const QRectF area = plot().adjusted(pointRadius + 2, 0, -pointRadius - 2, 0);
    const double x = m_points.size() == 1 ? area.center().x()
                                          : area.left() + area.width() * double(index) / double(m_points.size() - 1);
    return {x, area.bottom() - area.height() * std::clamp(m_points.at(index).fraction, 0.0, 1.0)};
}

qsizetype ScoreChart::pointAt(const QPoint& at) const
{
    qsizetype nearest = -1;
    double best = 0;
    for (qsizetype i = 0; i < m_points.size(); ++i) {
        const QPointF d = position(i) - QPointF(at);
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
        p.setPen(QPen(c.text, 1.5, Qt::DashLine));
        p.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
        p.setPen(c.text);
        p.drawText(QRectF(area.left(), y - fm.height() - 1, area.width(), fm.height()),
                   Qt::AlignRight | Qt::AlignBottom, m_markLabel);
    }
    if (m_points.isEmpty())
        return;

    QPainterPath line;
    for (qsizetype i = 0; i < m_points.size(); ++i) {
        if (i == 0)
            line.moveTo(position(i));
        else
            line.lineTo(position(i));
    }
    p.setPen(QPen(c.accent, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(line);
    for (qsizetype i = 0; i < m_points.size(); ++i) {
        p.setPen(QPen(c.surface, 1.5));
        p.setBrush(m_points.at(i).passed ? c.success : c.warning);
        p.drawEllipse(position(i), pointRadius, pointRadius);
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
    layout->addWidget(new SubelementChart(subelementBars(pool, saved.stats, profile), charts));
    const QList<Result> fresh = freshExams(saved.results, pool.id, profile);
    if (!fresh.isEmpty()) {
        const QList<ScorePoint> scores = scorePoints(fresh, chartedScores);
        layout->addWidget(
            legend(QStringLiteral("Fresh exam scores (%1 shown). Green points passed.").arg(scores.size()), charts,
                   QStringLiteral("examScoresLegend")));
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
