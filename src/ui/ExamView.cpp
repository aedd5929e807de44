// The question screen.
#include "ExamView.h"

#include "CardButton.h"
#include "Confirm.h"
#include "DiagramView.h"
#include "ElidedLabel.h"
#include "FigureButton.h"
#include "Icons.h"
#include "SectionWidgets.h"
#include "Theme.h"
#include "store/Results.h"
#include "store/Settings.h"
#include "store/Store.h"

#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QSlider>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int maxKeys = 4;
// The largest figure on the question screen; it shrinks to leave the answers room (and is never enlarged).
const QSize figureFrame(560, 340);
// Beside the answers, the figure takes at most half of the width and never less than this.
constexpr int minimumFigureWidth = 280;
constexpr int smallestFigureHeight = 160;
constexpr int figureGap = 16;
constexpr int questionMargin = 24;
constexpr int figurePadding = 8;

QString letter(qsizetype position)
{
    return QString(QChar(char16_t(65 + position)));
}

QLabel* plain(const QString& text, QWidget* parent)
{
    auto* l = new QLabel(text, parent);
    l->setTextFormat(Qt::PlainText);
    return l;
}

} // namespace

ExamView::ExamView(Store& store, QWidget* parent) : QWidget(parent), m_store(store)
{
    setObjectName(QStringLiteral("examView"));
    // The answer rows' fills and outlines are drawn in the scheme's colours.
    Theme::whenChanged(this, [this] { refresh(); });
    const auto settings = Settings::open();
    m_size = std::clamp(settings->value(Settings::studyTextSize, Settings::defaultTextSize).toDouble(),
                        Settings::minimumTextSize, Settings::maximumTextSize);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 18, 24, 16);
    layout->setSpacing(12);
    layout->addWidget(buildHeader());

    auto* sizeRow = new QHBoxLayout();
    auto* sizeCaption = new QLabel(QStringLiteral("Text Size"), this);
    sizeCaption->setFont(Theme::captionFont(sizeCaption));
    Theme::secondary(sizeCaption);
    m_sizeSlider = new QSlider(Qt::Horizontal, this);
    m_sizeSlider->setObjectName(QStringLiteral("textSize"));
    m_sizeSlider->setAccessibleName(QStringLiteral("Question text size"));
    m_sizeSlider->setRange(int(Settings::minimumTextSize), int(Settings::maximumTextSize));
    m_sizeSlider->setSingleStep(1);
    m_sizeSlider->setPageStep(1);
    m_sizeSlider->setValue(int(m_size));
    m_sizeSlider->setFixedWidth(180);
    connect(m_sizeSlider, &QSlider::valueChanged, this, [this](int value) { setTextSize(value); });
    sizeRow->addWidget(sizeCaption);
    sizeRow->addWidget(m_sizeSlider);
    sizeRow->addStretch(1);
    layout->addLayout(sizeRow);

    m_progress = new QProgressBar(this);
    m_progress->setObjectName(QStringLiteral("answeredProgress"));
    m_progress->setAccessibleName(QStringLiteral("Answered questions"));
    m_progress->setTextVisible(false);
    layout->addWidget(m_progress);

    m_scroll = new QScrollArea(this);
    m_scroll->setObjectName(QStringLiteral("questionArea"));
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidget(buildQuestion());
    m_scroll->viewport()->installEventFilter(this);
    layout->addWidget(m_scroll, 1);
    layout->addWidget(buildNavigation());

    for (int i = 0; i < maxKeys; ++i) {
        auto* key = new QShortcut(QKeySequence(Qt::Key(Qt::Key_A + i)), this);
        key->setObjectName(QStringLiteral("answerKey-") + QChar(char16_t(u'a' + i)));
        key->setContext(Qt::WindowShortcut);
        connect(key, &QShortcut::activated, this, [this, i] {
            if (i < m_answers.size() && m_answers[i]->isEnabled())
                m_store.answer(i);
        });
        m_keys.append(key);
    }

    // Moving on with the arrow keys lets a learner sit a whole exam from the keyboard: A–D, then → for the next one.
    const auto arrow = [this](Qt::Key key, QPushButton* button, const QString& name) {
        auto* shortcut = new QShortcut(QKeySequence(key), this);
        shortcut->setObjectName(name);
        shortcut->setContext(Qt::WindowShortcut);
        connect(shortcut, &QShortcut::activated, button, [button] {
            if (button->isEnabled())
                button->click();
        });
    };
    arrow(Qt::Key_Right, m_next, QStringLiteral("nextKey"));
    arrow(Qt::Key_Left, m_previous, QStringLiteral("previousKey"));
    // The text size slider and the selectable prompt keep their own arrow keys.
    m_sizeSlider->installEventFilter(this);
    m_prompt->installEventFilter(this);

    m_clock = new QTimer(this);
    m_clock->setInterval(1000);
    connect(m_clock, &QTimer::timeout, this, &ExamView::refreshTime);
    m_clock->start();

    connect(&m_store, &Store::sessionChanged, this, &ExamView::refresh);
    connect(&m_store, &Store::savedChanged, this, &ExamView::refresh);
    refresh();
}

QWidget* ExamView::buildHeader()
{
    auto* header = new QWidget(this);
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(0, 0, 0, 0);
    auto* titles = new QVBoxLayout();
    titles->setSpacing(2);
    m_title = plain(QString(), header);
    m_title->setObjectName(QStringLiteral("examTitle"));
    m_title->setFont(Theme::secondTitleFont(m_title));
    m_position = new ElidedLabel(header);
    m_position->setObjectName(QStringLiteral("examPosition"));
    Theme::secondary(m_position);
    titles->addWidget(m_title);
    titles->addWidget(m_position);
    row->addLayout(titles, 1);

    m_time = new QLabel(header);
    m_time->setObjectName(QStringLiteral("elapsed"));
    m_time->setFont(Theme::monospaceFont(20));
    row->addWidget(m_time);
    row->addSpacing(14);
    m_leaveButton = new QPushButton(header);
    m_leaveButton->setObjectName(QStringLiteral("leave"));
    connect(m_leaveButton, &QPushButton::clicked, this, &ExamView::confirmLeave);
    row->addWidget(m_leaveButton);
    return header;
}

QWidget* ExamView::buildQuestion()
{
    auto* content = new QWidget(m_scroll);
    content->setObjectName(QStringLiteral("questionContent"));
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(questionMargin, questionMargin, questionMargin, questionMargin);
    column->setSpacing(14);

    auto* idRow = new QHBoxLayout();
    m_questionId = new QLabel(content);
    m_questionId->setObjectName(QStringLiteral("questionId"));
    m_questionId->setFont(Theme::monospaceFont(13));
    Theme::secondary(m_questionId);
    m_flag = new QPushButton(content);
    m_flag->setObjectName(QStringLiteral("flag"));
    connect(m_flag, &QPushButton::clicked, this, [this] { m_store.flag(); });
    m_bookmark = new QPushButton(content);
    m_bookmark->setObjectName(QStringLiteral("bookmark"));
    connect(m_bookmark, &QPushButton::clicked, this, [this] {
        if (!m_store.session())
            return;
        const Session& s = *m_store.session();
        if (s.index >= 0 && s.index < s.questions.size())
            m_store.toggleBookmark(s.pool, s.questions[s.index]);
    });
    idRow->addWidget(m_questionId);
    idRow->addStretch(1);
    idRow->addWidget(m_flag);
    idRow->addWidget(m_bookmark);
    column->addLayout(idRow);

    m_prompt = plain(QString(), content);
    m_prompt->setObjectName(QStringLiteral("prompt"));
    m_prompt->setWordWrap(true);
    m_prompt->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_prompt->setCursor(Qt::IBeamCursor);
    column->addWidget(m_prompt);

    // The figure with its caption, and the answers: side by side, or one above the other (see fitFigure).
    m_figureRow = new QBoxLayout(QBoxLayout::LeftToRight);
    m_figureRow->setSpacing(figureGap);
    m_figureColumn = new QWidget(content);
    auto* figureColumn = new QVBoxLayout(m_figureColumn);
    figureColumn->setContentsMargins(0, 0, 0, 0);
    figureColumn->setSpacing(6);
    m_figure = new FigureButton(QImage(), figureFrame, figurePadding, m_figureColumn);
    m_figure->setObjectName(QStringLiteral("figure"));
    connect(m_figure, &FigureButton::clicked, this, [this] { enlarge(m_figureFile); });
    figureColumn->addWidget(m_figure);
    m_figureCaption = new QLabel(QStringLiteral("Click the diagram to enlarge it."), m_figureColumn);
    m_figureCaption->setObjectName(QStringLiteral("figureCaption"));
    m_figureCaption->setFont(Theme::captionFont(m_figureCaption));
    Theme::secondary(m_figureCaption);
    figureColumn->addWidget(m_figureCaption);
    figureColumn->addStretch(1);
    m_figureRow->addWidget(m_figureColumn, 0);

    m_answerBox = new QWidget(content);
    auto* answers = new QVBoxLayout(m_answerBox);
    answers->setContentsMargins(0, 0, 0, 0);
    answers->setSpacing(10);
    answers->addStretch(1); // beside a taller figure, the rows stay at the top
    // No alignment flag here: it would keep the wrapped answers from taking their height for the row's width.
    m_figureRow->addWidget(m_answerBox, 1);
    column->addLayout(m_figureRow);

    auto* checkRow = new QHBoxLayout();
    m_check = new QPushButton(QStringLiteral("Check Answer"), content);
    m_check->setObjectName(QStringLiteral("checkAnswer"));
    connect(m_check, &QPushButton::clicked, this, [this] {
        m_store.reveal();
        // The button is gone; the keyboard goes on to the next question (or to Finish on the last).
        (m_next->isEnabled() ? m_next : m_finish)->setFocus(Qt::OtherFocusReason);
    });
    checkRow->addWidget(m_check);
    checkRow->addStretch(1);
    column->addLayout(checkRow);

    m_revealedLine = new QWidget(content);
    m_revealedLine->setObjectName(QStringLiteral("revealedLine"));
    auto* revealed = new QHBoxLayout(m_revealedLine);
    revealed->setContentsMargins(0, 0, 0, 0);
    m_revealedIcon = new QLabel(m_revealedLine);
    m_revealedIcon->setObjectName(QStringLiteral("revealedIcon"));
    m_revealedIcon->setAlignment(Qt::AlignTop);
    m_revealedText = plain(QString(), m_revealedLine);
    m_revealedText->setObjectName(QStringLiteral("revealedText"));
    m_revealedText->setWordWrap(true);
    revealed->addWidget(m_revealedIcon);
    revealed->addWidget(m_revealedText, 1);
    column->addWidget(m_revealedLine);

    auto* keys = new QLabel(QStringLiteral("Keyboard: A–D to select an answer."), content);
    keys->setObjectName(QStringLiteral("keyboardHint"));
    keys->setFont(Theme::captionFont(keys));
    Theme::secondary(keys);
    column->addWidget(keys);
    column->addStretch(1);
    return content;
}

QWidget* ExamView::buildNavigation()
{
    auto* nav = new QWidget(this);
    auto* row = new QHBoxLayout(nav);
    row->setContentsMargins(0, 4, 0, 0);
    row->setSpacing(8);
    m_previous = new QPushButton(QStringLiteral("Previous"), nav);
    m_previous->setObjectName(QStringLiteral("previous"));
    connect(m_previous, &QPushButton::clicked, this, [this] {
        if (m_store.session())
            m_store.move(m_store.session()->index - 1);
    });
    m_next = new QPushButton(QStringLiteral("Next"), nav);
    m_next->setObjectName(QStringLiteral("next"));
    connect(m_next, &QPushButton::clicked, this, [this] {
        if (m_store.session())
            m_store.move(m_store.session()->index + 1);
    });
    m_jump = new QPushButton(QStringLiteral("Jump To"), nav);
    m_jump->setObjectName(QStringLiteral("jumpTo"));
    m_jump->setIcon(Icons::icon(QStringLiteral("chevron.down")));
    m_jump->setLayoutDirection(Qt::RightToLeft); // the chevron after the title
    connect(m_jump, &QPushButton::clicked, this, &ExamView::showJumpList);
    m_counts = new QLabel(nav);
    m_counts->setObjectName(QStringLiteral("counts"));
    Theme::secondary(m_counts);
    m_finish = new QPushButton(Theme::buttonText(QStringLiteral("Finish & Score")), nav);
    m_finish->setAccessibleName(QStringLiteral("Finish & Score"));
    m_finish->setObjectName(QStringLiteral("finish"));
    Theme::prominent(m_finish);
    connect(m_finish, &QPushButton::clicked, this, &ExamView::confirmSubmit);
    row->addWidget(m_previous);
    row->addWidget(m_next);
    row->addWidget(m_jump);
    row->addSpacing(8);
    row->addWidget(m_counts);
    row->addStretch(1);
    row->addWidget(m_finish);
    return nav;
}

void ExamView::refresh()
{
    const auto& session = m_store.session();
    if (!session || session->questions.isEmpty()) {
        setEnabled(false);
        return;
    }
    setEnabled(true);
    const Session& s = *session;
    const qint64 index = std::clamp<qint64>(s.index, 0, s.questions.size() - 1);
    const Question& q = s.questions[index];
    const bool revealed = s.revealed.contains(q.id);
    const std::optional<qint64> recorded =
        s.answers.contains(q.id) ? std::optional<qint64>(s.answers.value(q.id)) : std::nullopt;

    m_title->setText(s.pool.name + QStringLiteral(" · ") + s.mode);
    // A long name gives way; the count never does.
    const QString count = QStringLiteral(" · Question ") + QString::number(index + 1) + QStringLiteral(" of ") +
                          QString::number(s.questions.size());
    m_position->setText(s.name + count, count.size());
    const QString leave = s.isGuest() ? QStringLiteral("Leave") : QStringLiteral("Save & Leave");
    m_leaveButton->setText(Theme::buttonText(leave));
    m_leaveButton->setAccessibleName(leave);
    refreshTime();

    m_progress->setRange(0, int(s.questions.size()));
    m_progress->setValue(int(s.answers.size()));

    m_questionId->setText(q.id);
    const bool flagged = s.flags.contains(q.id);
    m_flag->setText(flagged ? QStringLiteral("Flagged") : QStringLiteral("Flag"));
    m_flag->setIcon(Icons::icon(flagged ? QStringLiteral("flag.fill") : QStringLiteral("flag"), Theme::Tone::warning));
    const bool bookmarked = m_store.saved().bookmarks.contains(m_store.key(s.pool, q));
    m_bookmark->setText(bookmarked ? QStringLiteral("Bookmarked") : QStringLiteral("Bookmark"));
    m_bookmark->setIcon(
        Icons::icon(bookmarked ? QStringLiteral("bookmark.fill") : QStringLiteral("bookmark"), Theme::Tone::accent));

    QFont promptFont = font();
    promptFont.setPixelSize(qRound(m_size));
    promptFont.setWeight(QFont::DemiBold);
    m_prompt->setFont(promptFont);
    m_prompt->setText(q.prompt);

    // Figures are decoded (PDF ones rendered) only when another question comes up, not on every answer.
    if (m_figureQuestion != q.id) {
        m_figureQuestion = q.id;
        std::optional<QImage> image;
        const std::optional<QString> file = m_store.diagramFile(q);
        if (file)
            image = m_store.image(*file);
        m_figureFile = image ? *file : QString();
        m_figureColumn->setVisible(image.has_value());
        m_figure->setImage(image.value_or(QImage()));
        m_figure->setAccessibleName(image ? QStringLiteral("Enlarge official diagram for ") + q.id : QString());
    }

    refreshAnswers(q, revealed, recorded);
    fitFigure();

    const bool practice = !s.isExam();
    m_check->setVisible(practice && !revealed);
    m_check->setEnabled(recorded.has_value());
    m_revealedLine->setVisible(practice && revealed);
    if (practice && revealed && q.correct >= 0 && q.correct < q.answers.size()) {
        const bool right = recorded && *recorded == q.correct;
        Icons::show(m_revealedIcon, right ? QStringLiteral("checkmark.circle") : QStringLiteral("xmark.circle"),
                    right ? Theme::Tone::success : Theme::Tone::warning, 20);
        m_revealedText->setText(QStringLiteral("Correct answer: ") + letter(q.correct) + QStringLiteral(". ") +
                                q.answers[q.correct]);
        QFont f = font();
        f.setPixelSize(qRound(std::max(13.0, m_size - 3)));
        m_revealedText->setFont(f);
    }

    m_previous->setEnabled(index > 0);
    m_next->setEnabled(index < s.questions.size() - 1);
    qint64 unanswered = 0;
    for (const Question& each : s.questions)
        unanswered += s.answers.contains(each.id) ? 0 : 1;
    qint64 flags = 0;
    for (const Question& each : s.questions)
        flags += s.flags.contains(each.id) ? 1 : 0;
    m_counts->setText(QString::number(flags) + QStringLiteral(" flagged · ") + QString::number(unanswered) +
                      QStringLiteral(" unanswered"));

    // A new question starts at the top of the scrolling area.
    if (m_shownQuestion != q.id) {
        m_shownQuestion = q.id;
        m_scroll->verticalScrollBar()->setValue(0);
    }
}

void ExamView::refreshAnswers(const Question& q, bool revealed, std::optional<qint64> recorded)
{
    auto* layout = static_cast<QVBoxLayout*>(m_answerBox->layout());
    const qsizetype made = m_answers.size();
    while (m_answers.size() < q.answers.size()) {
        const qsizetype i = m_answers.size();
        auto* row = new CardButton(m_answerBox);
        row->setObjectName(QStringLiteral("answer-") + QString::number(i));
        row->setRadius(10);
        auto* inner = new QHBoxLayout(row);
        inner->setContentsMargins(15, 15, 15, 15);
        inner->setSpacing(12);
        auto* mark = new QLabel(letter(i), row);
        mark->setObjectName(QStringLiteral("letter"));
        mark->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        mark->setMinimumWidth(22);
        auto* text = plain(QString(), row);
        text->setObjectName(QStringLiteral("text"));
        text->setWordWrap(true);
        auto* tick = new QLabel(row);
        tick->setObjectName(QStringLiteral("tick"));
        tick->setAlignment(Qt::AlignTop);
        tick->setFixedWidth(22);
        for (QLabel* l : {mark, text, tick}) {
            l->setAttribute(Qt::WA_TransparentForMouseEvents);
            inner->addWidget(l, l == text ? 1 : 0);
        }
        connect(row, &CardButton::clicked, this, [this, i] { m_store.answer(i); });
        layout->insertWidget(layout->count() - 1, row);
        m_answers.append(row);
    }
    // Rows made now stand between the figure and Check Answer on the screen and in the Tab order.
    if (m_answers.size() > made)
        SectionWidgets::focusBefore(m_check, QList<QWidget*>(m_answers.cbegin(), m_answers.cend()));
    const Theme::Colors& colors = Theme::colors();
    const QColor outline = Theme::withAlpha(colors.secondaryText, 0.25);
    for (qsizetype i = 0; i < m_answers.size(); ++i) {
        CardButton* row = m_answers[i];
        const bool shown = i < q.answers.size();
        row->setVisible(shown);
        if (!shown)
            continue;
        const bool chosen = recorded && *recorded == i;
        QColor fill = colors.control;
        if (revealed && i == q.correct)
            fill = Theme::withAlpha(colors.success, 0.18);
        else if (chosen)
            fill = Theme::withAlpha(colors.accent, 0.13);
        // A checked wrong answer is outlined in orange; the correct row keeps its green.
        const bool wrong = revealed && chosen && i != q.correct;
        row->setFill(fill);
        row->setOutline(wrong ? colors.warning : chosen ? colors.accent : outline, wrong ? 2.0 : 1.0);
        // A checked answer is final: its rows take no click or focus, but keep their colours and marks instead of
        // the greyed-out look of disabled controls.
        row->setAttribute(Qt::WA_TransparentForMouseEvents, revealed);
        row->setFocusPolicy(revealed ? Qt::NoFocus : Qt::StrongFocus);
        row->setAccessibleName(letter(i) + QStringLiteral(". ") + q.answers[i]);
        QFont answerFont = font();
        answerFont.setPixelSize(qRound(m_size));
        auto* mark = row->findChild<QLabel*>(QStringLiteral("letter"));
        auto* text = row->findChild<QLabel*>(QStringLiteral("text"));
        auto* tick = row->findChild<QLabel*>(QStringLiteral("tick"));
        QFont letterFont = answerFont;
        letterFont.setBold(true);
        mark->setFont(letterFont);
        text->setFont(answerFont);
        text->setText(q.answers[i]);
        if (wrong)
            Icons::show(tick, QStringLiteral("xmark.circle.fill"), Theme::Tone::warning, 20);
        else if (chosen)
            Icons::show(tick, QStringLiteral("checkmark.circle.fill"), Theme::Tone::accent, 20);
        else
            tick->clear();
    }
    for (int i = 0; i < m_keys.size(); ++i)
        m_keys[i]->setEnabled(i < q.answers.size() && !revealed);
}

QStringList ExamView::jumpEntries() const
{
    QStringList entries;
    if (!m_store.session())
        return entries;
    const Session& s = *m_store.session();
    for (qsizetype i = 0; i < s.questions.size(); ++i) {
        const Question& each = s.questions[i];
        QString entry = QString::number(i + 1) + QStringLiteral(". ") + each.id;
        if (s.flags.contains(each.id))
            entry += QStringLiteral(" ⚑");
        if (!s.answers.contains(each.id))
            entry += QStringLiteral(" — unanswered");
        entries << entry;
    }
    return entries;
}

void ExamView::showJumpList()
{
    if (!m_store.session())
        return;
    auto* popup = new QFrame(this, Qt::Popup);
    popup->setObjectName(QStringLiteral("jumpList"));
    popup->setAttribute(Qt::WA_DeleteOnClose);
    popup->setFrameShape(QFrame::StyledPanel);
    auto* layout = new QVBoxLayout(popup);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(6);
    auto* filter = new QLineEdit(popup);
    filter->setObjectName(QStringLiteral("jumpFilter"));
    filter->setPlaceholderText(QStringLiteral("Search"));
    filter->setAccessibleName(QStringLiteral("Search questions"));
    filter->setClearButtonEnabled(true);
    auto* list = new QListWidget(popup);
    list->setObjectName(QStringLiteral("jumpEntries"));
    list->setAccessibleName(QStringLiteral("Questions"));
    list->setUniformItemSizes(true);
    list->addItems(jumpEntries());
    list->setCurrentRow(int(m_store.session()->index));
    layout->addWidget(filter);
    layout->addWidget(list);

    const auto jump = [this, popup, list] {
        if (QListWidgetItem* item = list->currentItem(); item && !item->isHidden()) {
            m_store.move(list->row(item));
            popup->close();
        }
    };
    connect(list, &QListWidget::itemActivated, popup, jump);
    connect(filter, &QLineEdit::returnPressed, popup, jump);
    connect(filter, &QLineEdit::textChanged, popup, [list](const QString& text) {
        QListWidgetItem* first = nullptr;
        for (int i = 0; i < list->count(); ++i) {
            QListWidgetItem* item = list->item(i);
            item->setHidden(!item->text().contains(text.trimmed(), Qt::CaseInsensitive));
            if (!first && !item->isHidden())
                first = item;
        }
        list->setCurrentItem(first);
    });
    // Up and Down in the search field move through the list.
    filter->installEventFilter(this);
    filter->setProperty("jumpList", QVariant::fromValue<QObject*>(list));

    // As wide as the longest entry, as tall as the entries need but never taller than the screen leaves above the
    // button (or below it, when there is more room there).
    const QRect screen = m_jump->screen()->availableGeometry();
    const QPoint anchor = m_jump->mapToGlobal(QPoint(0, 0));
    const int width = std::max(list->sizeHintForColumn(0) + list->verticalScrollBar()->sizeHint().width() + 40, 260);
    const int rowsHeight = list->sizeHintForRow(0) * list->count() + 2 * list->frameWidth();
    const int chrome = filter->sizeHint().height() + layout->spacing() + 2 * 8 + 4;
    const int above = anchor.y() - screen.top() - 8;
    const int below = screen.bottom() - (anchor.y() + m_jump->height()) - 8;
    const int height = std::min({rowsHeight + chrome, std::max(above, below), screen.height() - 16});
    popup->resize(std::min(width, screen.width() - 16), height);
    const int y = std::clamp(above >= height || above >= below ? anchor.y() - height : anchor.y() + m_jump->height(),
                             screen.top() + 8, screen.bottom() - height - 8);
    const int x = std::clamp(anchor.x(), screen.left() + 8, screen.right() - popup->width() - 8);
    popup->move(x, y);
    popup->show();
    list->scrollToItem(list->currentItem(), QAbstractItemView::PositionAtCenter);
    filter->setFocus(Qt::PopupFocusReason);
}

bool ExamView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize && watched == m_scroll->viewport())
        fitFigure();
    if (event->type() == QEvent::ShortcutOverride && (watched == m_sizeSlider || watched == m_prompt)) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Left || key == Qt::Key_Right)
            event->accept();
    }
    if (event->type() == QEvent::KeyPress) {
        auto* list = qobject_cast<QListWidget*>(watched->property("jumpList").value<QObject*>());
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (list && (key == Qt::Key_Down || key == Qt::Key_Up || key == Qt::Key_PageDown || key == Qt::Key_PageUp)) {
            QApplication::sendEvent(list, event);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void ExamView::fitFigure()
{
    const QSize room = m_scroll->viewport()->size() - QSize(2 * questionMargin, 2 * questionMargin) -
                       QSize(2 * figurePadding, 2 * figurePadding);
    const bool beside = room.width() >= 2 * minimumFigureWidth + figureGap;
    m_figureRow->setDirection(beside ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    // What stands above the figure: the question number row and the prompt.
    const int above = m_questionId->sizeHint().height() + m_prompt->heightForWidth(room.width()) + 2 * 14;
    QSize frame = figureFrame;
    if (beside) {
        frame.setWidth(std::min(figureFrame.width(), (room.width() - figureGap) / 2));
        frame.setHeight(std::min(figureFrame.height(), room.height() - above - m_figureCaption->sizeHint().height()));
    } else {
        frame.setWidth(std::min(figureFrame.width(), room.width()));
        const int answers = m_answerBox->layout()->totalHeightForWidth(room.width());
        frame.setHeight(std::min(figureFrame.height(), room.height() - above - answers));
    }
    frame.setHeight(std::max(frame.height(), smallestFigureHeight));
    m_figure->setFrame(frame);
}

void ExamView::refreshTime()
{
    const QString text = duration(m_store.elapsed());
    m_time->setText(text);
    m_time->setAccessibleName(QStringLiteral("Elapsed time ") + text);
}

void ExamView::setTextSize(double size)
{
    m_size = std::clamp(size, Settings::minimumTextSize, Settings::maximumTextSize);
    Settings::open()->setValue(Settings::studyTextSize, m_size);
    refresh();
}

void ExamView::enlarge(const QString& file)
{
    if (file.isEmpty())
        return;
    m_enlarged = file;
    m_viewer = new DiagramView(m_store, file, this);
    m_viewer->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_viewer, &QDialog::finished, this, [this] { m_enlarged.reset(); });
    m_viewer->open();
}

void ExamView::confirmSubmit()
{
    if (!m_store.session() || m_submit)
        return;
    const Session& s = *m_store.session();
    qint64 unanswered = 0;
    for (const Question& q : s.questions)
        unanswered += s.answers.contains(q.id) ? 0 : 1;
    m_submit = true;
    Confirm::open(
        this,
        {QStringLiteral("Submit this attempt?"),
         QString::number(unanswered) + QStringLiteral(" unanswered questions will be counted as incorrect. "
                                                      "Your timer stops on submission."),
         QStringLiteral("Keep Working"), QStringLiteral("Submit")},
        [this] { m_store.finish(); }, [this] { m_submit = false; });
}

void ExamView::confirmLeave()
{
    if (!m_store.session() || m_leave)
        return;
    const Session& s = *m_store.session();
    Confirm::Request request;
    request.cancelText = QStringLiteral("Continue");
    if (s.isGuest()) {
        request.title = QStringLiteral("Leave this Guest attempt?");
        request.message = QStringLiteral("Guest answers and scores are not saved. Leaving ends this attempt.");
        request.actionText = QStringLiteral("Leave");
    } else {
        request.title = QStringLiteral("Save and leave?");
        request.message = s.isExam() ? QStringLiteral("Your answers will be saved, but this attempt will no longer "
                                                      "qualify for the top 10.")
                                     : QStringLiteral("Your place and answers will be saved.");
        request.actionText = QStringLiteral("Save & Leave");
    }
    m_leave = true;
    Confirm::open(
        this, request, [this] { m_store.leave(); }, [this] { m_leave = false; });
}
