// The spaced-review figures of the Learn and Progress screens.
#include "ReviewLabels.h"

#include "SectionWidgets.h"
#include "Theme.h"
#include "store/Review.h"
#include "store/Store.h"

#include <QLabel>

namespace ReviewLabels {

QLabel* dueCount(const Store& store, const Pool& pool, QWidget* parent)
{
    const qint64 due = ::dueCount(pool, store.saved().stats, store.profile().id, store.now());
    if (due <= 0)
        return nullptr;
    auto* label = SectionWidgets::plain(QString::number(due) + QStringLiteral(" due for review"), parent);
    label->setObjectName(QStringLiteral("dueCount"));
    QFont font = Theme::captionFont(label, -1);
    font.setWeight(QFont::DemiBold);
    label->setFont(font);
    Theme::toned(label, Theme::Tone::accent);
    return label;
}

QLabel* prediction(const Store& store, const Pool& pool, QWidget* parent)
{
    QLabel* label = SectionWidgets::body(
        predictionLine(predict(pool, store.saved().stats, store.profile().id, store.now())), parent);
    label->setObjectName(QStringLiteral("prediction"));
    return label;
}

} // namespace ReviewLabels
