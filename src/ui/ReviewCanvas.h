// The source sheet of a diagram review, shown scaled, over which the learner drags a selection.
#pragma once

#include <QImage>
#include <QRectF>
#include <QWidget>

class ReviewCanvas : public QWidget
{
    Q_OBJECT

public:
    explicit ReviewCanvas(QWidget* parent = nullptr);

    // Shows another sheet and clears the selection.
    void setImage(const QImage& image);
    const QImage& image() const { return m_image; }
    // The displayed size: the sheet scaled to fit 700 by 330, small sheets enlarged.
    QSize displaySize() const;
    // The selection in unit coordinates of the sheet (each 0 to 1); empty until a drag.
    QRectF selection() const { return m_selection; }
    void clearSelection();

    QSize sizeHint() const override { return displaySize(); }

signals:
    void selectionChanged(const QRectF& selection);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QPointF unitPoint(const QPointF& position) const;
    void dragTo(const QPointF& position);

    QImage m_image;
    QRectF m_selection;
    QPointF m_start;
    bool m_dragging = false;
};
