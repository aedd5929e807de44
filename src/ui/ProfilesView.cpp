// The "Profiles" section.
#include "ProfilesView.h"

#include "Confirm.h"
#include "ElidedLabel.h"
#include "SectionWidgets.h"
#include "store/Store.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

using namespace SectionWidgets;

ProfilesView::ProfilesView(Store& store, QWidget* parent) : SectionView(parent), m_store(store)
{
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(20, 20, 20, 20);
    m_layout->setSpacing(12);
    m_layout->addWidget(title(QStringLiteral("Profiles"), this));
    m_layout->addWidget(note(
        QStringLiteral("Each profile keeps separate progress and bookmarks. The top 10 is shared locally."), this));

    auto* addRow = new QHBoxLayout;
    addRow->setSpacing(8);
    m_name = new QLineEdit(this);
    m_name->setPlaceholderText(QStringLiteral("New profile name"));
    name(m_name, QStringLiteral("newProfileName"), QStringLiteral("New profile name"));
    m_name->setFixedWidth(200);
    m_add = new QPushButton(QStringLiteral("Add Profile"), this);
    name(m_add, QStringLiteral("addProfile"), QStringLiteral("Add Profile"));
    m_add->setFixedWidth(100);
    m_add->setProperty("compact", true);
    m_add->setEnabled(false);
    makePrimary(m_add);
    addRow->addWidget(m_name);
    addRow->addWidget(m_add);
    addRow->addStretch(1);
    m_layout->addLayout(addRow);

    // The profile rows are redrawn in place, between the add row and the reset section.
    m_rows = new QWidget(this);
    m_layout->addWidget(m_rows);

    QVBoxLayout* resetLayout = nullptr;
    QFrame* reset = card(this, &resetLayout);
    resetLayout->addWidget(heading(QStringLiteral("Reset This Computer"), reset));
    resetLayout->addWidget(note(QStringLiteral("Clear all profiles, study progress, bookmarks, saved sessions, results "
                                               "and top 10 entries. The installed question pools remain available."),
                                reset));
    auto* clear = new QPushButton(QStringLiteral("Clear All Data…"), reset);
    name(clear, QStringLiteral("clearAllData"), QStringLiteral("Clear All Data…"));
    makeDestructive(clear);
    auto* clearRow = new QHBoxLayout;
    clearRow->addWidget(clear);
    clearRow->addStretch(1);
    resetLayout->addLayout(clearRow);
    m_layout->addWidget(reset);
    m_layout->addStretch(1);

    connect(m_name, &QLineEdit::textChanged, this,
            [this](const QString& text) { m_add->setEnabled(!text.trimmed().isEmpty()); });
    connect(m_name, &QLineEdit::returnPressed, this, [this] {
        if (m_add->isEnabled())
            addProfile();
    });
    connect(m_add, &QPushButton::clicked, this, &ProfilesView::addProfile);
    connect(clear, &QPushButton::clicked, this, &ProfilesView::confirmReset);
    connect(&m_store, &Store::savedChanged, this, &ProfilesView::storeChanged);
    redraw();
}

void ProfilesView::reset()
{
    m_name->clear();
}

void ProfilesView::addProfile()
{
    m_store.addProfile(m_name->text());
    m_name->clear();
    // The learner may add another at once.
    m_name->setFocus(Qt::OtherFocusReason);
}

void ProfilesView::redraw()
{
    auto* rows = new QWidget(this);
    auto* layout = new QVBoxLayout(rows);
    layout->setContentsMargins(0, 4, 0, 4);
    layout->setSpacing(6);
    const QUuid current = m_store.profile().id;
    QList<QWidget*> buttons;
    for (const Profile& profile : m_store.saved().profiles) {
        auto* row = new QFrame(rows);
        row->setObjectName(QStringLiteral("profileRow-") + profile.id.toString(QUuid::WithoutBraces).toUpper());
        auto* rowLayout = new QHBoxLayout(row);
        rowLayout->setContentsMargins(0, 0, 0, 0);
        rowLayout->setSpacing(8);
        auto* icon = new QLabel(row);
        icon->setPixmap(personIcon().pixmap(20, 20));
        auto* label = new ElidedLabel(row);
        label->setText(profile.name);
        label->setObjectName(QStringLiteral("profileName"));
        label->setFixedWidth(200 - 28);
        auto* button =
            new QPushButton(profile.id == current ? QStringLiteral("Selected") : QStringLiteral("Select"), row);
        name(button, QStringLiteral("selectProfile"), button->text() + QStringLiteral(" ") + profile.name);
        button->setFixedWidth(100);
        button->setProperty("compact", true);
        if (profile.id == current)
            makePrimary(button);
        const QUuid id = profile.id;
        connect(button, &QPushButton::clicked, this, [this, id] { m_store.select(id); });
        rowLayout->addWidget(icon);
        rowLayout->addWidget(label);
        rowLayout->addWidget(button);
        rowLayout->addStretch(1);
        layout->addWidget(row);
        buttons.append(button);
    }
    replace(m_layout, m_rows, rows);
    // The rows stand between the add row and the reset section, in the Tab order too.
    if (auto* clear = findChild<QPushButton*>(QStringLiteral("clearAllData")))
        focusBefore(clear, buttons);
}

void ProfilesView::confirmReset()
{
    if (m_confirmation)
        return;
    Confirm::Request request;
    request.title = QStringLiteral("Clear All Data for Everyone?");
    request.message =
        QStringLiteral("This permanently removes every learner profile, score, saved session, bookmark and progress "
                       "record on this computer, including recovery copies. It resets text size and starts again with "
                       "Guest. Question pools and any reports you exported elsewhere are kept. This cannot be undone.");
    request.cancelText = QStringLiteral("Cancel");
    request.actionText = QStringLiteral("Clear All Data");
    request.actionRole = QMessageBox::DestructiveRole;
    m_confirmation = Confirm::open(
        this, request, [this] { m_store.clearAllData(); }, [this] { m_confirmation = nullptr; });
}
