// Progress as pictures: accuracy bars per subelement and score charts over time, painted in the scheme's colours.
#pragma once

#include "store/Trends.h"

#include <QWidget>

class QLabel;

// One bar: the subelement's code and title, its accuracy against the 80 % line, and its figures in words. The figures
// are also the bar's tooltip and accessible description.
class SubelementBarRow : public QWidget
{
    Q_OBJECT

public:
    SubelementBarRow(const SubelementBar& bar, QWidget* parent = nullptr);

    const SubelementBar& bar() const { return m_bar; }
    // The text at the right end: "77% · 9 answers" or "Not studied".
    QString figures() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    SubelementBar m_bar;
};

// The bars of one pool, one row per subelement, with a legend for the line and the colours.
class SubelementChart : public QWidget
{
    Q_OBJECT

public:
    SubelementChart(const QList<SubelementBar>& bars, QWidget* parent = nullptr);
};

// Scores over time, oldest on the left, with an optional mark (the pass mark) drawn across as a dashed line. Each
// point's date and score are its tooltip; the whole series is the chart's accessible description.
class ScoreChart : public QWidget
{
    Q_OBJECT

public:
    struct Point
    {
        double fraction = 0; // 0 to 1
        bool passed = false;
        QString date;   // as shown under the chart
        QString figure; // "30/35"
    };

    ScoreChart(const QList<Point>& points, std::optional<double> mark, const QString& markLabel, int height,
               QWidget* parent = nullptr);

    static QList<Point> points(const QList<ScorePoint>& scores);
    // The point nearest to a position (within reach of a pointer), or -1.
    qsizetype pointAt(const QPoint& position) const;
    QString description() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QRectF plot() const;
    QPointF position(qsizetype index) const;

    QList<Point> m_points;
    std::optional<double> m_mark;
    QString m_markLabel;
    int m_height;
};

// The charts of one pool on the Progress screen: the subelement bars, then the fresh exams' scores when there are any.
QWidget* poolCharts(const Pool& pool, const Saved& saved, const QUuid& profile, QWidget* parent);
// The small trend above the History list: the scores of the learner's last results (newest first given).
QWidget* historyTrend(const QList<Result>& newestFirst, QWidget* parent);
