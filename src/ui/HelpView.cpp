// The "Help" section.
#include "HelpView.h"

#include "SectionWidgets.h"

#include <QFile>
#include <QFrame>
#include <QLabel>
#include <QVBoxLayout>

using namespace SectionWidgets;

namespace {

QString userGuide()
{
    QFile file(QStringLiteral(":/UserGuide.txt"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    return QString::fromUtf8(file.readAll());
}

} // namespace

HelpView::HelpView(Store&, QWidget* parent) : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->setSpacing(12);
    layout->addWidget(title(QStringLiteral("Using Kestovan Aerowen"), this));

    const QString guide = userGuide();
    QLabel* text =
        guide.isEmpty() ? body(QStringLiteral("The user guide could not be loaded."), this) : body(guide, this);
    text->setObjectName(QStringLiteral("userGuide"));
    text->setTextFormat(Qt::PlainText);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text->setAccessibleName(QStringLiteral("User guide"));
    QVBoxLayout* cardLayout = nullptr;
    QFrame* frame = card(this, &cardLayout);
    cardLayout->setContentsMargins(22, 18, 22, 18);
    text->setParent(frame);
    cardLayout->addWidget(text);
    layout->addWidget(frame);
    layout->addStretch(1);
}
