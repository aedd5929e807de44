// Progress as pictures: accuracy bars per subelement and score charts over time, painted in the scheme's colours.
#pragma once

#include "store/Trends.h"

#include <QWidget>

class QLabel;

// The bars of one pool, one row per subelement: its code and title, its accuracy against a dashed 80 % line, coloured
// by whether it is weak, and its figures. Each bar's figures are its tooltip and the description assistive tools read
// for it (an accessible item per bar).
class SubelementChart : public QWidget
{
    Q_OBJECT

public:
    explicit SubelementChart(const QList<SubelementBar>& bars, QWidget* parent = nullptr);

    const QList<SubelementBar>& bars() const { return m_bars; }
    // The text at the right end of a bar: "77% · 9 answers" or "Not studied".
    static QString figures(const SubelementBar& bar);
    QRect rowRect(qsizetype index) const;
    // The bar under a position, or -1.
    qsizetype rowAt(const QPoint& position) const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QList<SubelementBar> m_bars;
    int m_codeWidth = 0;
    int m_figuresWidth = 0;
    int m_rowHeight = 0;
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
    QPointF position(qsizetype index, const QRectF& plotArea) const;

    QList<Point> m_points;
    std::optional<double> m_mark;
    QString m_markLabel;
    int m_height;
};

// The charts of one pool on the Progress screen: the subelement bars, then the fresh exams' scores when there are any.
QWidget* poolCharts(const Pool& pool, const Saved& saved, const QUuid& profile, QWidget* parent);
// The small trend above the History list: the scores of the learner's last results (newest first given).
QWidget* historyTrend(const QList<Result>& newestFirst, QWidget* parent);
