// The eliding label.
#include "ElidedLabel.h"

#include <QPainter>
#include <QStyle>

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(false);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void ElidedLabel::setText(const QString& text, qsizetype keep)
{
    m_keep = std::clamp<qsizetype>(keep, 0, text.size());
    QLabel::setText(text);
    setToolTip(fontMetrics().horizontalAdvance(text) > width() ? text : QString());
    updateGeometry();
}

QString ElidedLabel::shownText() const
{
    const QString whole = text();
    const QString tail = whole.right(m_keep);
    const QFontMetrics metrics = fontMetrics();
    const int room = contentsRect().width() - metrics.horizontalAdvance(tail);
    return metrics.elidedText(whole.left(whole.size() - m_keep), Qt::ElideRight, std::max(room, 0)) + tail;
}

QSize ElidedLabel::minimumSizeHint() const
{
    const QString shortest = QStringLiteral("…") + text().right(m_keep);
    const QMargins margins = contentsMargins();
    return {fontMetrics().horizontalAdvance(shortest) + margins.left() + margins.right(),
            QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), int(alignment()) | Qt::TextSingleLine, palette(), isEnabled(),
                          shownText(), foregroundRole());
}
