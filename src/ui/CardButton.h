// A plain button drawn as a rounded card whose content is laid out with ordinary child widgets.
#pragma once

#include <QAbstractButton>
#include <QColor>

class CardButton : public QAbstractButton
{
    Q_OBJECT

public:
    explicit CardButton(QWidget* parent = nullptr);

    void setFill(const QColor& fill);
    void setOutline(const QColor& outline, double width = 1.0);
    void setRadius(double radius);
    QColor fill() const { return m_fill; }
    QColor outline() const { return m_outline; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& pos) const override;

private:
    QColor m_fill;
    QColor m_outline;
    double m_outlineWidth = 1.0;
    double m_radius = 8;
};
