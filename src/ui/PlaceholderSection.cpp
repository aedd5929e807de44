// The placeholder section.
#include "PlaceholderSection.h"

#include "Theme.h"

#include <QLabel>
#include <QVBoxLayout>

PlaceholderSection::PlaceholderSection(Store&, const QString& title, const QString& line, QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* heading = new QLabel(title, this);
    heading->setFont(Theme::titleFont(heading, 22));
    auto* text = new QLabel(line, this);
    Theme::secondary(text);
    layout->addWidget(heading);
    layout->addWidget(text);
    layout->addStretch(1);
}
