// A one-line label that shortens its text with "…" to fit its width. The last keep characters (counts such as
// " · Question 35 of 35") are always shown whole; text() stays the whole text.
#pragma once

#include <QLabel>

class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    void setText(const QString& text, qsizetype keep = 0);
    // The text as it is painted at the label's present width.
    QString shownText() const;

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    qsizetype m_keep = 0;
};
