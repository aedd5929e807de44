// The "Browse" section.
#include "BrowseView.h"

#include "DiagramView.h"
#include "ElidedLabel.h"
#include "FigureButton.h"
#include "Icons.h"
#include "LearnView.h"
#include "SectionWidgets.h"
#include "Theme.h"
#include "store/Seeded.h"
#include "store/Store.h"

#include <QAbstractTableModel>
#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QTreeView>
#include <QVBoxLayout>

using namespace SectionWidgets;

namespace {

const QSize figureFrame(420, 260);
constexpr int figurePadding = 8;
// The list grows with what it finds, between these many rows, and scrolls beyond.
constexpr int fewestRows = 4;
constexpr int mostRows = 10;

QString letter(qsizetype position)
{
    return QString(QChar(char16_t(u'A' + position)));
}

} // namespace

// The questions found, one row each: identifier, prompt and the learner's record. Records are looked up when a row
// is painted, so a search only swaps the list.
class FoundModel : public QAbstractTableModel
{
public:
    FoundModel(const Store& store, QObject* parent) : QAbstractTableModel(parent), m_store(store) {}

    void setQuestions(const Pool& pool, const QList<Question>& questions)
    {
        beginResetModel();
        m_pool = pool;
        m_questions = questions;
        endResetModel();
    }
    // The learner's statistics changed: the records column is redrawn.
    void recordsChanged()
    {
        if (!m_questions.isEmpty())
            emit dataChanged(index(0, 2), index(int(m_questions.size()) - 1, 2));
    }

    int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_questions.size());
    }
    int columnCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : 3; }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
            return {};
        switch (section) {
        case 0:
            return QStringLiteral("Question");
        case 1:
            return QStringLiteral("Prompt");
        default:
            return QStringLiteral("Your record");
        }
    }
    QVariant data(const QModelIndex& index, int role) const override
    {
        if (!index.isValid() || index.row() >= m_questions.size())
            return {};
        const Question& q = m_questions.at(index.row());
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole || role == Qt::ToolTipRole) {
            switch (index.column()) {
            case 0:
                return q.id;
            case 1:
                return q.prompt;
            default: {
                const auto stat = m_store.saved().stats.constFind(statKey(m_store.profile().id, m_pool.id, q.id));
                return recordText(stat == m_store.saved().stats.cend() ? std::nullopt : std::optional(*stat));
            }
            }
        }
        if (role == Qt::FontRole && index.column() == 0)
            return QFontDatabase::systemFont(QFontDatabase::FixedFont);
        return {};
    }

private:
    const Store& m_store;
    Pool m_pool;
    QList<Question> m_questions;
};

BrowseView::BrowseView(Store& store, QWidget* parent) : SectionView(parent), m_store(store)
{
    setObjectName(QStringLiteral("browseView"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->setSpacing(12);
    layout->addWidget(title(QStringLiteral("Browse Questions"), this));
    layout->addWidget(note(QStringLiteral("Look up any question by its identifier (such as T5A or T5A07) or by words "
                                          "of its prompt and answers, then practise exactly what you found."),
                           this));

    auto* pickers = new QHBoxLayout();
    pickers->setSpacing(8);
    m_poolPicker = new QComboBox(this);
    m_poolPicker->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    name(m_poolPicker, QStringLiteral("browsePool"), QStringLiteral("Question Pool"));
    auto* poolLabel = new QLabel(QStringLiteral("Question Pool"), this);
    poolLabel->setBuddy(m_poolPicker);
    connect(m_poolPicker, &QComboBox::activated, this, [this](int index) {
        m_poolID = m_poolPicker->itemData(index).toString();
        refreshPools();
        search();
    });
    m_subelementPicker = new QComboBox(this);
    // Subelement titles are long; the picker takes the room left and its list shows them whole.
    m_subelementPicker->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_subelementPicker->setMinimumContentsLength(14);
    m_subelementPicker->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    name(m_subelementPicker, QStringLiteral("browseSubelement"), QStringLiteral("Subelement"));
    auto* subelementLabel = new QLabel(QStringLiteral("Subelement"), this);
    subelementLabel->setBuddy(m_subelementPicker);
    connect(m_subelementPicker, &QComboBox::activated, this, [this] { search(); });
    pickers->addWidget(poolLabel);
    pickers->addWidget(m_poolPicker);
    pickers->addSpacing(8);
    pickers->addWidget(subelementLabel);
    pickers->addWidget(m_subelementPicker, 1);
    layout->addLayout(pickers);

    m_searchField = new QLineEdit(this);
    m_searchField->setPlaceholderText(QStringLiteral("Identifier or words, e.g. T5A07 or impedance"));
    name(m_searchField, QStringLiteral("browseSearch"), QStringLiteral("Search questions"));
    m_searchField->installEventFilter(this);
    connect(m_searchField, &QLineEdit::textChanged, this, [this] { search(); });
    layout->addWidget(m_searchField);

    auto* filters = new QHBoxLayout();
    filters->setSpacing(14);
    m_bookmarkedOnly = new QCheckBox(QStringLiteral("Bookmarked only"), this);
    name(m_bookmarkedOnly, QStringLiteral("bookmarkedOnly"), QStringLiteral("Bookmarked only"));
    m_missedBefore = new QCheckBox(QStringLiteral("Missed before"), this);
    name(m_missedBefore, QStringLiteral("missedBefore"), QStringLiteral("Missed before"));
    for (QCheckBox* box : {m_bookmarkedOnly, m_missedBefore})
        connect(box, &QCheckBox::toggled, this, [this] { search(); });
    m_count = plain(QString(), this);
    m_count->setObjectName(QStringLiteral("browseCount"));
    Theme::secondary(m_count);
    m_shuffle = new QCheckBox(QStringLiteral("Shuffle"), this);
    name(m_shuffle, QStringLiteral("browseShuffle"), QStringLiteral("Shuffle"));
    m_shuffle->setChecked(true);
    m_practise = new QPushButton(QStringLiteral("Practise These"), this);
    m_practise->setObjectName(QStringLiteral("practiseThese"));
    makePrimary(m_practise);
    connect(m_practise, &QPushButton::clicked, this, &BrowseView::practise);
    filters->addWidget(m_bookmarkedOnly);
    filters->addWidget(m_missedBefore);
    filters->addWidget(m_count, 1);
    filters->addWidget(m_shuffle);
    filters->addWidget(m_practise);
    layout->addLayout(filters);

    m_model = new FoundModel(m_store, this);
    m_list = new QTreeView(this);
    name(m_list, QStringLiteral("browseResults"), QStringLiteral("Questions found"));
    m_list->setModel(m_model);
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setTextElideMode(Qt::ElideRight);
    QHeaderView* header = m_list->header();
    header->setStretchLastSection(false);
    header->setSectionResizeMode(0, QHeaderView::Fixed);
    header->setSectionResizeMode(1, QHeaderView::Stretch);
    header->setSectionResizeMode(2, QHeaderView::Fixed);
    const QFontMetrics mono(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    header->resizeSection(0, mono.horizontalAdvance(QStringLiteral("T0A00")) + 28);
    header->resizeSection(2, fontMetrics().horizontalAdvance(QStringLiteral("99 of 99 right · last wrong")) + 20);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentRowChanged, this, [this](const QModelIndex& index) {
        if (index.isValid() && index.row() < m_found.size())
            select(m_found.at(index.row()).id);
    });
    layout->addWidget(m_list);

    buildQuestion(layout);
    layout->addStretch(1);

    connect(&m_store, &Store::savedChanged, this, &BrowseView::storeChanged);
    connect(&m_store, &Store::packChanged, this, &BrowseView::storeChanged);
    redraw();
}

void BrowseView::buildQuestion(QVBoxLayout* layout)
{
    QVBoxLayout* column = nullptr;
    m_question = card(this, &column);
    m_question->setObjectName(QStringLiteral("browseQuestion"));
    auto* top = new QHBoxLayout();
    m_questionTitle = new ElidedLabel(m_question);
    m_questionTitle->setObjectName(QStringLiteral("browseQuestionTitle"));
    m_questionTitle->setFont(Theme::headlineFont(m_questionTitle));
    m_bookmark = new QPushButton(m_question);
    m_bookmark->setObjectName(QStringLiteral("browseBookmark"));
    connect(m_bookmark, &QPushButton::clicked, this, [this] {
        const std::optional<Pool> chosen = pool();
        const auto q =
            std::find_if(m_found.cbegin(), m_found.cend(), [this](const Question& q) { return q.id == m_selected; });
        if (chosen && q != m_found.cend())
            m_store.toggleBookmark(*chosen, *q);
    });
    top->addWidget(m_questionTitle, 1);
    top->addWidget(m_bookmark);
    column->addLayout(top);

    m_prompt = plain(QString(), m_question);
    m_prompt->setObjectName(QStringLiteral("browsePrompt"));
    m_prompt->setWordWrap(true);
    m_prompt->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont promptFont = m_prompt->font();
    promptFont.setPointSizeF(promptFont.pointSizeF() * 1.1);
    promptFont.setWeight(QFont::DemiBold);
    m_prompt->setFont(promptFont);
    column->addWidget(m_prompt);

    auto* answersAndFigure = new QHBoxLayout();
    answersAndFigure->setSpacing(16);
    auto* answers = new QVBoxLayout();
    answers->setSpacing(6);
    for (int i = 0; i < 4; ++i) {
        auto* row = new QHBoxLayout();
        row->setSpacing(8);
        auto* mark = new QLabel(m_question);
        mark->setObjectName(QStringLiteral("browseMark-%1").arg(i));
        mark->setFixedSize(18, 18);
        auto* text = plain(QString(), m_question);
        text->setObjectName(QStringLiteral("browseAnswer-%1").arg(i));
        text->setWordWrap(true);
        text->setTextInteractionFlags(Qt::TextSelectableByMouse);
        row->addWidget(mark, 0, Qt::AlignTop);
        row->addWidget(text, 1);
        answers->addLayout(row);
        m_answerMarks.append(mark);
        m_answers.append(text);
    }
    answers->addStretch(1);
    answersAndFigure->addLayout(answers, 1);

    m_figureColumn = new QWidget(m_question);
    auto* figure = new QVBoxLayout(m_figureColumn);
    figure->setContentsMargins(0, 0, 0, 0);
    figure->setSpacing(4);
    m_figure = new FigureButton(QImage(), figureFrame, figurePadding, m_figureColumn);
    m_figure->setObjectName(QStringLiteral("browseFigure"));
    connect(m_figure, &FigureButton::clicked, this, &BrowseView::enlarge);
    figure->addWidget(m_figure);
    figure->addWidget(caption(QStringLiteral("Click the diagram to enlarge it."), m_figureColumn));
    figure->addStretch(1);
    answersAndFigure->addWidget(m_figureColumn, 0, Qt::AlignTop);
    column->addLayout(answersAndFigure);
    layout->addWidget(m_question);
}

std::optional<Pool> BrowseView::pool() const
{
    return chosenPool(m_store.pools(), m_poolID, Dates::today());
}

void BrowseView::redraw()
{
    refreshPools();
    search();
}

void BrowseView::refreshPools()
{
    const std::optional<Pool> chosen = pool();
    const QString today = Dates::today();
    {
        const QSignalBlocker block(m_poolPicker);
        m_poolPicker->clear();
        for (const Pool& p : m_store.pools()) {
            m_poolPicker->addItem(LearnView::poolEntry(p, today), p.id);
            if (chosen && p.id == chosen->id)
                m_poolPicker->setCurrentIndex(m_poolPicker->count() - 1);
        }
    }
    // The search texts are made once per pool; a pool id names one revision, so an unchanged id needs none.
    if (!chosen || chosen->id == m_search.pool().id)
        return;
    m_search = PoolSearch(*chosen);
    const QString subelement = m_subelementPicker->currentData().toString();
    const QSignalBlocker block(m_subelementPicker);
    m_subelementPicker->clear();
    m_subelementPicker->addItem(QStringLiteral("All subelements"), QString());
    for (const QString& code : subelements(*chosen))
        m_subelementPicker->addItem(
            code + QStringLiteral(" · ") + chosen->topics.value(code, QStringLiteral("Subelement")), code);
    // The same subelement of another level does not exist; of another revision of the level it is kept.
    m_subelementPicker->setCurrentIndex(std::max(0, m_subelementPicker->findData(subelement)));
}

void BrowseView::search()
{
    const QuestionFilter filter{m_searchField->text(), m_subelementPicker->currentData().toString(),
                                m_bookmarkedOnly->isChecked(), m_missedBefore->isChecked()};
    m_found = m_search.find(filter, m_store.saved(), m_store.profile().id);
    m_model->setQuestions(m_search.pool(), m_found);
    const int rowHeight = m_found.isEmpty() ? fontMetrics().height() + 4 : m_list->sizeHintForRow(0);
    m_list->setFixedHeight(m_list->header()->sizeHint().height() + 2 * m_list->frameWidth() +
                           rowHeight * std::clamp(int(m_found.size()), fewestRows, mostRows));
    m_count->setText(m_found.isEmpty()     ? QStringLiteral("No questions match.")
                     : m_found.size() == 1 ? QStringLiteral("1 question found")
                                           : QStringLiteral("%1 questions found").arg(m_found.size()));
    m_practise->setEnabled(!m_found.isEmpty());
    // The question shown stays while it is among those found; otherwise the first one found is shown.
    qsizetype row = -1;
    for (qsizetype i = 0; i < m_found.size() && row < 0; ++i) {
        if (m_found.at(i).id == m_selected)
            row = i;
    }
    if (row < 0 && !m_found.isEmpty())
        row = 0;
    m_selected = row < 0 ? QString() : m_found.at(row).id;
    if (row >= 0) {
        const QSignalBlocker block(m_list->selectionModel());
        m_list->setCurrentIndex(m_model->index(int(row), 0));
        m_list->scrollTo(m_model->index(int(row), 0));
    }
    refreshQuestion();
}

void BrowseView::select(const QString& id)
{
    m_selected = id;
    refreshQuestion();
}

void BrowseView::refreshQuestion()
{
    const auto q =
        std::find_if(m_found.cbegin(), m_found.cend(), [this](const Question& q) { return q.id == m_selected; });
    const std::optional<Pool> chosen = pool();
    m_question->setVisible(q != m_found.cend() && chosen);
    if (q == m_found.cend() || !chosen)
        return;
    // The identifier, the subelement's title and the official reference, as far as the pool has them.
    QString heading = q->id;
    if (const QString topic = chosen->topics.value(q->group.left(2)); !topic.isEmpty())
        heading += QStringLiteral(" · ") + topic;
    if (!q->reference.isEmpty())
        heading += QStringLiteral(" · ") + q->reference;
    m_questionTitle->setText(heading);
    m_questionTitle->setAccessibleName(heading);
    const bool bookmarked = m_store.saved().bookmarks.contains(m_store.key(*chosen, *q));
    m_bookmark->setText(bookmarked ? QStringLiteral("Bookmarked") : QStringLiteral("Bookmark"));
    m_bookmark->setAccessibleName(m_bookmark->text());
    m_bookmark->setIcon(
        Icons::icon(bookmarked ? QStringLiteral("bookmark.fill") : QStringLiteral("bookmark"), Theme::Tone::accent));
    m_prompt->setText(q->prompt);
    for (qsizetype i = 0; i < m_answers.size(); ++i) {
        const bool correct = i == q->correct;
        QLabel* text = m_answers.at(i);
        text->setText(letter(i) + QStringLiteral(". ") + q->answers.value(i));
        text->setAccessibleName((correct ? QStringLiteral("Correct answer: ") : QString()) + text->text());
        if (correct)
            Theme::toned(text, Theme::Tone::success);
        else
            text->setProperty("tone", QVariant());
        text->style()->unpolish(text);
        text->style()->polish(text);
        QFont font = text->font();
        font.setBold(correct);
        text->setFont(font);
        if (correct)
            Icons::show(m_answerMarks.at(i), QStringLiteral("checkmark.circle.fill"), Theme::Tone::success, 18);
        else
            m_answerMarks.at(i)->clear();
    }
    std::optional<QImage> image;
    const std::optional<QString> file = m_store.diagramFile(*q);
    if (file)
        image = m_store.image(*file);
    m_figureFile = image ? *file : QString();
    m_figureColumn->setVisible(image.has_value());
    m_figure->setImage(image.value_or(QImage()));
    m_figure->setAccessibleName(image ? QStringLiteral("Enlarge official diagram for ") + q->id : QString());
}

void BrowseView::enlarge()
{
    if (m_figureFile.isEmpty())
        return;
    auto* viewer = new DiagramView(m_store, m_figureFile, this);
    viewer->setAttribute(Qt::WA_DeleteOnClose);
    viewer->open();
}

void BrowseView::practise()
{
    const std::optional<Pool> chosen = pool();
    if (!chosen || m_found.isEmpty())
        return;
    m_store.begin(*chosen, Modes::studyAll, m_store.profile().name, m_shuffle->isChecked(), QString(), m_found);
}

bool BrowseView::eventFilter(QObject* watched, QEvent* event)
{
    // Up and Down in the search field walk the list, so a learner can type and pick without leaving the field.
    if (watched == m_searchField && event->type() == QEvent::KeyPress && !m_found.isEmpty()) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Down || key == Qt::Key_Up) {
            const int row =
                std::clamp(m_list->currentIndex().row() + (key == Qt::Key_Down ? 1 : -1), 0, int(m_found.size()) - 1);
            m_list->setCurrentIndex(m_model->index(row, 0));
            return true;
        }
    }
    return SectionView::eventFilter(watched, event);
}
