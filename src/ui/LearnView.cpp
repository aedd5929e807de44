// The Learn section.
#include "LearnView.h"

#include "CardButton.h"
#include "Confirm.h"
#include "Icons.h"
#include "ReviewLabels.h"
#include "SectionWidgets.h"
#include "Theme.h"
#include "store/Results.h"
#include "store/Store.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShowEvent>
#include <QVBoxLayout>
#include <utility>

namespace {

QLabel* caption(const QString& text, QWidget* parent, const QString& objectName = QString())
{
    QLabel* l = Theme::label(text, parent, objectName);
    l->setFont(Theme::captionFont(l));
    Theme::secondary(l);
    return l;
}

void clearLayout(QLayout* layout)
{
    while (QLayoutItem* item = layout->takeAt(0)) {
        // Hidden at once: a widget waiting for deletion would still be painted under its replacement.
        if (QWidget* w = item->widget()) {
            w->hide();
            w->deleteLater();
        }
        delete item;
    }
}

} // namespace

const QStringList& LearnView::modes()
{
    static const QStringList list = {Modes::studyAll,  Modes::exam,          Modes::weakTopics,
                                     Modes::bookmarks, Modes::clubChallenge, Modes::dueForReview};
    return list;
}

const QStringList& LearnView::levels()
{
    static const QStringList list = {QStringLiteral("technician"), QStringLiteral("general"), QStringLiteral("extra")};
    return list;
}

QString LearnView::levelTitle(const QString& level)
{
    if (level == QLatin1StringView("extra"))
        return QStringLiteral("Amateur Extra");
    return level.isEmpty() ? level : level.left(1).toUpper() + level.mid(1);
}

QString LearnView::poolEntry(const Pool& pool, const QString& today)
{
    QString entry =
        pool.name + QStringLiteral(" · ") + pool.validFrom.left(4) + QStringLiteral("–") + pool.validUntil.left(4);
    if (pool.upcoming())
        entry += QStringLiteral(" · Upcoming");
    else if (!pool.current(today))
        entry += QStringLiteral(" · Expired");
    return entry;
}

LearnView::LearnView(Store& store, QWidget* parent) : QWidget(parent), m_store(store)
{
    setObjectName(QStringLiteral("learnView"));
    // The pool cards are filled and outlined in the scheme's colours.
    Theme::whenChanged(this, [this] { refreshCards(); });
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(18);

    auto* intro = new QVBoxLayout();
    intro->setSpacing(4);
    auto* title = Theme::label(QStringLiteral("Your next step on the air"), this, QStringLiteral("learnTitle"));
    title->setFont(Theme::largeTitleFont(title));
    intro->addWidget(title);
    auto* subtitle =
        Theme::label(QStringLiteral("Study every question, focus on difficult topics, or sit a fresh practice "
                                    "exam. Everything stays on this computer."),
                     this, QStringLiteral("learnSubtitle"));
    Theme::secondary(subtitle);
    intro->addWidget(subtitle);
    layout->addLayout(intro);

    m_cards = new QHBoxLayout();
    m_cards->setSpacing(12);
    layout->addLayout(m_cards);

    // Completed licences: a disclosure button and its panel of switches.
    auto* completed = new QVBoxLayout();
    completed->setSpacing(6);
    m_completedToggle = new QPushButton(QStringLiteral("Completed Licenses"), this);
    m_completedToggle->setObjectName(QStringLiteral("completedToggle"));
    m_completedToggle->setProperty("flat", true);
    m_completedToggle->setStyleSheet(QStringLiteral("color: palette(window-text); font-weight: 600;"));
    m_completedToggle->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(m_completedToggle, &QPushButton::clicked, this, [this] {
        m_showCompleted = !m_showCompleted;
        refreshCompleted();
    });
    completed->addWidget(m_completedToggle);
    m_completedPanel = new QWidget(this);
    m_completedPanel->setObjectName(QStringLiteral("completedPanel"));
    auto* panel = new QVBoxLayout(m_completedPanel);
    panel->setContentsMargins(22, 0, 0, 0);
    panel->addWidget(caption(QStringLiteral("Mark levels you no longer need to study. Uncheck a level to bring it "
                                            "back. Your progress and saved sessions are kept."),
                             m_completedPanel));
    for (const QString& level : levels()) {
        auto* box = new QCheckBox(levelTitle(level), m_completedPanel);
        box->setObjectName(QStringLiteral("completed-") + level);
        box->setAccessibleName(levelTitle(level));
        box->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        connect(box, &QCheckBox::clicked, this, [this, level](bool on) { m_store.setLevelComplete(level, on); });
        m_levelSwitches.append(box);
        panel->addWidget(box);
    }
    completed->addWidget(m_completedPanel);
    layout->addLayout(completed);

    m_allComplete =
        Theme::label(QStringLiteral("All levels are marked complete. Uncheck a level above whenever you want to "
                                    "practise again."),
                     this, QStringLiteral("allComplete"));
    layout->addWidget(m_allComplete);

    buildSetUp(layout);

    m_sessions = new QWidget(this);
    m_sessions->setObjectName(QStringLiteral("savedSessions"));
    auto* sessions = new QVBoxLayout(m_sessions);
    sessions->setContentsMargins(0, 6, 0, 0);
    sessions->setSpacing(8);
    auto* heading = Theme::label(QStringLiteral("Continue a Saved Session"), m_sessions);
    heading->setFont(Theme::secondTitleFont(heading));
    sessions->addWidget(heading);
    m_sessionRows = new QVBoxLayout();
    m_sessionRows->setSpacing(8);
    sessions->addLayout(m_sessionRows);
    sessions->addWidget(
        caption(QStringLiteral("Resumed exams are practice-only and do not enter the top 10."), m_sessions));
    layout->addWidget(m_sessions);
    layout->addStretch(1);

    // A change while the screen is out of sight leaves it to be filled again when it is shown.
    const auto changed = [this] {
        m_filledForShow = false;
        refresh();
    };
    connect(&m_store, &Store::savedChanged, this, changed);
    connect(&m_store, &Store::packChanged, this, changed);
    // The screen is made when it is about to be shown: it is filled once, here, as it will be seen.
    takeProfileName();
    m_filledForShow = true;
    refresh();
}

void LearnView::buildSetUp(QVBoxLayout* layout)
{
    m_setUp = new QFrame(this);
    m_setUp->setObjectName(QStringLiteral("setUpGroup"));
    m_setUp->setProperty("card", true);
    auto* group = new QVBoxLayout(m_setUp);
    group->setContentsMargins(20, 18, 20, 20);
    group->setSpacing(14);
    auto* heading = Theme::label(QStringLiteral("Set Up Your Session"), m_setUp);
    heading->setFont(Theme::secondTitleFont(heading));
    group->addWidget(heading);

    // Pool, mode and shuffle.
    auto* pickers = new QHBoxLayout();
    pickers->setSpacing(8);
    m_poolPicker = new QComboBox(m_setUp);
    m_poolPicker->setObjectName(QStringLiteral("poolPicker"));
    m_poolPicker->setAccessibleName(QStringLiteral("Question Pool"));
    m_poolPicker->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    auto* poolLabel = new QLabel(QStringLiteral("Question Pool"), m_setUp);
    poolLabel->setBuddy(m_poolPicker);
    connect(m_poolPicker, &QComboBox::activated, this, [this](int index) {
        m_poolID = m_poolPicker->itemData(index).toString();
        refresh();
    });
    m_modePicker = new QComboBox(m_setUp);
    m_modePicker->setObjectName(QStringLiteral("modePicker"));
    m_modePicker->setAccessibleName(QStringLiteral("Mode"));
    m_modePicker->addItems(modes());
    auto* modeLabel = new QLabel(QStringLiteral("Mode"), m_setUp);
    modeLabel->setBuddy(m_modePicker);
    connect(m_modePicker, &QComboBox::currentTextChanged, this, [this](const QString& mode) {
        m_mode = mode;
        refreshSetUp();
    });
    m_shuffleSwitch = new QCheckBox(QStringLiteral("Shuffle"), m_setUp);
    m_shuffleSwitch->setObjectName(QStringLiteral("shuffleSwitch"));
    m_shuffleSwitch->setAccessibleName(QStringLiteral("Shuffle"));
    m_shuffleSwitch->setChecked(m_shuffle);
    connect(m_shuffleSwitch, &QCheckBox::toggled, this, [this](bool on) { m_shuffle = on; });
    pickers->addWidget(poolLabel);
    pickers->addWidget(m_poolPicker);
    pickers->addSpacing(12);
    pickers->addWidget(modeLabel);
    pickers->addWidget(m_modePicker);
    pickers->addSpacing(12);
    pickers->addWidget(m_shuffleSwitch);
    pickers->addStretch(1);
    group->addLayout(pickers);

    // The learner: saved profiles, the typed name and its two buttons.
    auto* profileRow = new QHBoxLayout();
    profileRow->setSpacing(8);
    m_savedProfileBox = new QWidget(m_setUp);
    auto* savedRow = new QHBoxLayout(m_savedProfileBox);
    savedRow->setContentsMargins(0, 0, 12, 0);
    m_savedProfilePicker = new QComboBox(m_savedProfileBox);
    m_savedProfilePicker->setObjectName(QStringLiteral("savedProfilePicker"));
    m_savedProfilePicker->setAccessibleName(QStringLiteral("Saved profile"));
    // The profile row fits the smallest window: the picker and the field give up width before anything overflows.
    m_savedProfilePicker->setMinimumWidth(110);
    m_savedProfilePicker->setMaximumWidth(170);
    m_savedProfilePicker->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    auto* savedLabel = new QLabel(QStringLiteral("Saved profile"), m_savedProfileBox);
    savedLabel->setBuddy(m_savedProfilePicker);
    savedRow->addWidget(savedLabel);
    savedRow->addWidget(m_savedProfilePicker);
    connect(m_savedProfilePicker, &QComboBox::activated, this, [this](int index) {
        const QUuid id = m_savedProfilePicker->itemData(index).toUuid();
        m_store.select(id);
        takeProfileName();
        refresh();
    });
    profileRow->addWidget(m_savedProfileBox);
    m_nameField = new QLineEdit(m_setUp);
    m_nameField->setObjectName(QStringLiteral("profileName"));
    m_nameField->setAccessibleName(QStringLiteral("Profile"));
    m_nameField->setPlaceholderText(QStringLiteral("Profile"));
    m_nameField->setMinimumWidth(140);
    m_nameField->setMaximumWidth(220);
    auto* nameLabel = new QLabel(QStringLiteral("Profile"), m_setUp);
    nameLabel->setBuddy(m_nameField);
    connect(m_nameField, &QLineEdit::textEdited, this, [this](const QString& text) {
        m_name = text;
        refreshButtons();
    });
    m_save = new QPushButton(QStringLiteral("Save"), m_setUp);
    m_save->setObjectName(QStringLiteral("saveProfile"));
    connect(m_save, &QPushButton::clicked, this, [this] {
        m_store.renameProfile(m_name);
        takeProfileName();
        refresh();
    });
    m_add = new QPushButton(QStringLiteral("Add"), m_setUp);
    m_add->setObjectName(QStringLiteral("addProfile"));
    connect(m_add, &QPushButton::clicked, this, [this] {
        m_store.addProfile(m_name);
        takeProfileName();
        refresh();
    });
    profileRow->addWidget(nameLabel);
    profileRow->addWidget(m_nameField);
    profileRow->addWidget(m_save);
    profileRow->addWidget(m_add);
    profileRow->addStretch(1);
    group->addLayout(profileRow);

    group->addWidget(caption(QStringLiteral("Guest attempts are temporary. Add a named profile to save results and "
                                            "qualify for the top 10."),
                             m_setUp, QStringLiteral("guestNote")));

    // The club challenge code, only for that mode.
    m_challenge = new QWidget(m_setUp);
    m_challenge->setObjectName(QStringLiteral("challengeBox"));
    auto* challenge = new QVBoxLayout(m_challenge);
    challenge->setContentsMargins(0, 0, 0, 0);
    challenge->setSpacing(4);
    m_codeField = new QLineEdit(m_challenge);
    m_codeField->setObjectName(QStringLiteral("challengeCode"));
    m_codeField->setAccessibleName(QStringLiteral("Shared challenge code"));
    m_codeField->setPlaceholderText(QStringLiteral("Shared challenge code"));
    m_codeField->setFixedWidth(260);
    connect(m_codeField, &QLineEdit::textEdited, this, [this](const QString& text) { m_code = text; });
    challenge->addWidget(m_codeField);
    challenge->addWidget(caption(QStringLiteral("Use the same pool revision and code for each participant. Challenge "
                                                "results have their own top 10."),
                                 m_challenge));
    group->addWidget(m_challenge);

    // Preview or expiry warning.
    m_warning = new QWidget(m_setUp);
    m_warning->setObjectName(QStringLiteral("poolWarning"));
    auto* warning = new QHBoxLayout(m_warning);
    warning->setContentsMargins(0, 0, 0, 0);
    auto* icon = new QLabel(m_warning);
    Icons::show(icon, QStringLiteral("exclamationmark.triangle"), Theme::Tone::warning, 18);
    m_warningText = new QLabel(m_warning);
    m_warningText->setObjectName(QStringLiteral("poolWarningText"));
    Theme::toned(m_warningText, Theme::Tone::warning);
    warning->addWidget(icon);
    warning->addWidget(m_warningText, 1);
    group->addWidget(m_warning);

    m_start = new QPushButton(QStringLiteral("Start"), m_setUp);
    m_start->setObjectName(QStringLiteral("start"));
    Theme::prominent(m_start);
    m_start->setMinimumWidth(120);
    connect(m_start, &QPushButton::clicked, this, &LearnView::start);
    auto* startRow = new QHBoxLayout();
    startRow->addWidget(m_start);
    startRow->addStretch(1);
    group->addLayout(startRow);

    layout->addWidget(m_setUp);
}

std::optional<Pool> LearnView::pool() const
{
    return chosenPool(m_store.studyPools(), m_poolID, Dates::today());
}

void LearnView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (std::exchange(m_filledForShow, false))
        return;
    // Coming back to the screen starts again from the current learner's name and the first set-up: the default
    // pool, Study All, shuffled, no club code. A window restored from the task bar keeps what it showed.
    if (!event->spontaneous()) {
        m_poolID.clear();
        m_mode = modes().first();
        m_shuffle = true;
        m_code.clear();
        const QSignalBlocker blockMode(m_modePicker);
        m_modePicker->setCurrentText(m_mode);
        m_shuffleSwitch->setChecked(true);
        m_codeField->clear();
    }
    takeProfileName();
    refresh();
}

void LearnView::takeProfileName()
{
    const Profile profile = m_store.profile();
    m_profileId = profile.id;
    m_name = profile.name;
    if (m_nameField)
        m_nameField->setText(m_name);
}

void LearnView::refresh()
{
    // A change of learner (here or elsewhere) puts that learner's name in the field.
    if (m_store.profile().id != m_profileId)
        takeProfileName();
    refreshCards();
    refreshCompleted();
    refreshSetUp();
    refreshSessions();
}

void LearnView::refreshCards()
{
    const QWidget* focused = QApplication::focusWidget();
    const QString focusedCard = focused && isAncestorOf(focused) ? focused->objectName() : QString();
    clearLayout(m_cards);
    const QString today = Dates::today();
    const std::optional<Pool> chosen = pool();
    QList<QWidget*> cards;
    for (const Pool& p : m_store.studyPools()) {
        if (!p.current(today))
            continue;
        auto* card = new CardButton(this);
        card->setObjectName(QStringLiteral("poolCard-") + p.id);
        card->setAccessibleName(p.name);
        card->setAccessibleDescription(QString::number(p.questions.size()) + QStringLiteral(" questions, exam ") +
                                       QString::number(p.examCount) + QStringLiteral(", pass ") +
                                       QString::number(p.passCount));
        card->setRadius(8);
        const bool selected = chosen && chosen->id == p.id;
        const Theme::Colors& colors = Theme::colors();
        card->setFill(selected ? Theme::withAlpha(colors.accent, 0.15) : colors.control);
        card->setOutline(selected ? Theme::withAlpha(colors.accent, 0.55) : colors.divider);
        card->setCheckable(false);
        card->setMinimumWidth(190);
        card->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
        auto* inner = new QVBoxLayout(card);
        inner->setContentsMargins(14, 12, 14, 12);
        inner->setSpacing(3);
        auto* name = new QLabel(p.name, card);
        name->setFont(Theme::titleFont(name, Theme::secondTitleSize));
        auto* count = new QLabel(QString::number(p.questions.size()) + QStringLiteral(" questions"), card);
        auto* exam = new QLabel(QStringLiteral("Exam: ") + QString::number(p.examCount) + QStringLiteral(" · Pass: ") +
                                    QString::number(p.passCount),
                                card);
        exam->setFont(Theme::captionFont(exam, -1));
        auto* valid = new QLabel(QStringLiteral("Valid: ") + p.validFrom + QStringLiteral(" to ") + p.validUntil +
                                     QStringLiteral("\nCorrection: ") + p.revision,
                                 card);
        valid->setFont(Theme::captionFont(valid, -2));
        Theme::secondary(valid);
        QList<QLabel*> labels{name, count, exam, valid};
        // The due count reads every statistic of the pool: worked out only for the screen in sight (or just being
        // made to be shown), not for each answer saved while a session hides it.
        if (QLabel* due = isVisible() || m_filledForShow ? ReviewLabels::dueCount(m_store, p, card) : nullptr) {
            card->setAccessibleDescription(card->accessibleDescription() + QStringLiteral(", ") + due->text());
            labels.append(due);
        }
        for (QLabel* l : std::as_const(labels)) {
            l->setTextFormat(Qt::PlainText);
            l->setAttribute(Qt::WA_TransparentForMouseEvents);
            inner->addWidget(l);
        }
        connect(card, &CardButton::clicked, this, [this, id = p.id] {
            m_poolID = id;
            refresh();
        });
        m_cards->addWidget(card);
        card->show(); // now, not after the layout's queued showing: the old cards are already hidden
        cards.append(card);
    }
    m_cards->addStretch(1);
    // The cards come first on the screen, so they come first in the Tab order too; the one that had the keyboard
    // (pressed with Enter or Space) keeps it.
    SectionWidgets::focusBefore(m_completedToggle, cards);
    for (QWidget* card : cards)
        if (card->objectName() == focusedCard)
            card->setFocus(Qt::OtherFocusReason);
}

void LearnView::refreshCompleted()
{
    m_completedToggle->setIcon(Icons::icon(
        m_showCompleted ? QStringLiteral("chevron.down") : QStringLiteral("chevron.right"), Theme::Tone::accent));
    m_completedPanel->setVisible(m_showCompleted);
    const auto completed = m_store.profile().completedLevels.value_or(QSet<QString>());
    for (int i = 0; i < m_levelSwitches.size(); ++i) {
        const QSignalBlocker block(m_levelSwitches[i]);
        m_levelSwitches[i]->setChecked(completed.contains(levels()[i]));
    }
}

void LearnView::refreshSetUp()
{
    const QList<Pool> pools = m_store.studyPools();
    const std::optional<Pool> chosen = pool();
    m_allComplete->setVisible(pools.isEmpty());
    m_setUp->setVisible(chosen.has_value());
    if (!chosen)
        return;

    const QString today = Dates::today();
    {
        const QSignalBlocker block(m_poolPicker);
        m_poolPicker->clear();
        for (const Pool& p : pools) {
            m_poolPicker->addItem(poolEntry(p, today), p.id);
            if (p.id == chosen->id)
                m_poolPicker->setCurrentIndex(m_poolPicker->count() - 1);
        }
    }
    {
        const QSignalBlocker block(m_modePicker);
        m_modePicker->setCurrentIndex(int(modes().indexOf(m_mode)));
    }
    const bool exam = m_mode == Modes::exam || m_mode == Modes::clubChallenge;
    m_shuffleSwitch->setEnabled(!exam);

    const QList<Profile>& profiles = m_store.saved().profiles;
    m_savedProfileBox->setVisible(profiles.size() > 1);
    {
        const QSignalBlocker block(m_savedProfilePicker);
        m_savedProfilePicker->clear();
        for (const Profile& p : profiles) {
            m_savedProfilePicker->addItem(p.name, p.id);
            if (p.id == m_profileId)
                m_savedProfilePicker->setCurrentIndex(m_savedProfilePicker->count() - 1);
        }
    }
    if (m_nameField->text() != m_name)
        m_nameField->setText(m_name);

    m_challenge->setVisible(m_mode == Modes::clubChallenge);
    const bool current = chosen->current(today);
    m_warning->setVisible(!current);
    if (!current) {
        m_warningText->setText(
            chosen->upcoming() ? QStringLiteral("Preview pool — not yet used for current exams.")
                               : QStringLiteral("This pool has expired. Update before preparing for a current exam."));
    }
    refreshButtons();
}

void LearnView::refreshButtons()
{
    const bool named = !trimmedName(m_name).isEmpty();
    m_save->setEnabled(named);
    m_add->setEnabled(named);
    m_start->setEnabled(named);
}

void LearnView::refreshSessions()
{
    clearLayout(m_sessionRows);
    const QList<Session> sessions = m_store.savedSessions();
    m_sessions->setVisible(!sessions.isEmpty());
    for (const Session& session : sessions) {
        auto* row = new QFrame(m_sessions);
        row->setObjectName(QStringLiteral("savedSession-") + session.id.toString(QUuid::WithoutBraces).toUpper());
        row->setProperty("card", true);
        auto* line = new QHBoxLayout(row);
        line->setContentsMargins(14, 10, 14, 10);
        auto* texts = new QVBoxLayout();
        texts->setSpacing(2);
        // A club challenge says its code, and every row its start date, so two saved sessions can be told apart.
        QString heading = session.pool.name + QStringLiteral(" · ") + session.mode;
        if (!session.challenge.isEmpty())
            heading += QStringLiteral(" · ") + session.challenge;
        auto* title = new QLabel(heading, row);
        title->setObjectName(QStringLiteral("sessionTitle"));
        title->setTextFormat(Qt::PlainText);
        title->setFont(Theme::headlineFont(title));
        auto* detail = caption(
            QString::number(session.answers.size()) + QStringLiteral("/") + QString::number(session.questions.size()) +
                QStringLiteral(" answered · ") + duration(session.elapsed) + QStringLiteral(" · started ") +
                SectionWidgets::abbreviatedDate(Dates::toDateTime(session.started).toLocalTime().date()),
            row);
        detail->setObjectName(QStringLiteral("sessionDetail"));
        texts->addWidget(title);
        texts->addWidget(detail);
        line->addLayout(texts, 1);
        auto* resume = new QPushButton(QStringLiteral("Resume"), row);
        resume->setObjectName(QStringLiteral("resume"));
        connect(resume, &QPushButton::clicked, this, [this, session] { m_store.resume(session); });
        auto* remove = new QPushButton(QStringLiteral("Delete"), row);
        remove->setObjectName(QStringLiteral("delete"));
        remove->setProperty("destructive", true);
        connect(remove, &QPushButton::clicked, this, [this, session] { confirmDelete(session); });
        line->addWidget(resume);
        line->addWidget(remove);
        m_sessionRows->addWidget(row);
    }
}

void LearnView::confirmDelete(const Session& session)
{
    m_deletingSession = session;
    Confirm::open(
        this,
        {QStringLiteral("Delete Saved Session?"),
         QStringLiteral("This removes the saved attempt and its answers. Completed results and study progress are "
                        "kept."),
         QStringLiteral("Cancel"), QStringLiteral("Delete"), QMessageBox::DestructiveRole},
        [this] {
            if (m_deletingSession)
                m_store.deleteSession(m_deletingSession->id);
        },
        [this] { m_deletingSession.reset(); });
}

void LearnView::start()
{
    const std::optional<Pool> chosen = pool();
    if (!chosen || trimmedName(m_name).isEmpty())
        return;
    if (m_name != m_store.profile().name)
        m_store.addProfile(m_name);
    m_store.begin(*chosen, m_mode, m_store.profile().name, m_shuffle, m_code, std::nullopt);
}
