// The result screen.
#include "ResultView.h"

#include "DiagramView.h"
#include "Icons.h"
#include "Theme.h"
#include "model/Modules.h"
#include "modules/Entries.h"
#include "store/ResultText.h"
#include "store/Results.h"
#include "store/Store.h"

#include <QAbstractTextDocumentLayout>
#include <QCheckBox>
#include <QFontDatabase>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QScrollArea>
#include <QTextDocument>
#include <QVBoxLayout>

namespace {

constexpr double printWidth = 540;
constexpr double printMinimumHeight = 700;

QString answerText(const Question& q, std::optional<qint64> index)
{
    // A damaged progress file could hold an index outside the answers; it is shown as unanswered.
    if (!index || *index < 0 || *index >= q.answers.size())
        return QStringLiteral("Unanswered");
    return q.answers[*index];
}

} // namespace

QList<Question> ResultView::wrongQuestions(const Result& result)
{
    QList<Question> wrong;
    for (const Question& q : result.session.questions) {
        const auto it = result.session.answers.constFind(q.id);
        if (it == result.session.answers.constEnd() || *it != q.correct)
            wrong.append(q);
    }
    return wrong;
}

QString ResultView::title(const Result& result)
{
    if (!result.session.isExam())
        return QStringLiteral("Practice Complete");
    return result.passed() ? QStringLiteral("Passed") : QStringLiteral("Keep Practising");
}

QString ResultView::standing(const Result& result)
{
    if (result.session.isGuest())
        return QStringLiteral("Guest result — not saved to history, progress or the top 10.");
    if (!result.session.isExam())
        return QString();
    return result.eligible() ? QStringLiteral("Eligible for the local top 10. Score ranks first; time breaks ties.")
                             : QStringLiteral("Practice result — excluded from rankings because it was interrupted.");
}

std::unique_ptr<QTextDocument> ResultView::printDocument(const Result& result)
{
    auto document = std::make_unique<QTextDocument>();
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPointSizeF(12);
    document->setDefaultFont(font);
    document->setDefaultStyleSheet(QStringLiteral("body { color: #000000; background-color: #ffffff; }"));
    document->setDocumentMargin(0);
    document->setPlainText(resultPrintText(result));
    document->setTextWidth(printWidth);
    // Lays the whole text out now; the height is what the text needs, but never less than one page.
    const double height = std::max(document->documentLayout()->documentSize().height(), printMinimumHeight);
    document->setProperty("printHeight", height);
    return document;
}

ResultView::ResultView(Store& store, const Result& result, QWidget* parent)
    : QWidget(parent), m_store(store), m_result(result)
{
    setObjectName(QStringLiteral("resultView"));
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea(this);
    scroll->setObjectName(QStringLiteral("resultArea"));
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFrameShape(QFrame::NoFrame);
    outer->addWidget(scroll);

    auto* content = new QWidget(scroll);
    content->setObjectName(QStringLiteral("resultContent"));
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(28, 22, 28, 28);
    layout->setSpacing(14);
    layout->addWidget(buildHeader());

    const Session& s = m_result.session;
    const qsizetype count = s.questions.size();
    auto* scoreRow = new QHBoxLayout();
    scoreRow->setSpacing(18);
    auto* score = new QLabel(QString::number(m_result.score()) + QStringLiteral("/") + QString::number(count), content);
    score->setObjectName(QStringLiteral("score"));
    score->setFont(Theme::titleFont(score, 34));
    const double percent = count > 0 ? double(m_result.score()) * 100.0 / double(count) : 0.0;
    auto* percentage = new QLabel(QString::asprintf("%.1f%%", percent), content);
    percentage->setObjectName(QStringLiteral("percentage"));
    percentage->setFont(Theme::titleFont(percentage, 20, false));
    auto* watch = new QLabel(content);
    Icons::show(watch, QStringLiteral("stopwatch"), Theme::Tone::accent, 18);
    auto* time = new QLabel(duration(m_result.seconds), content);
    time->setObjectName(QStringLiteral("resultTime"));
    time->setFont(Theme::monospaceFont(17));
    time->setAccessibleName(QStringLiteral("Time ") + time->text());
    scoreRow->addWidget(score);
    scoreRow->addWidget(percentage);
    scoreRow->addSpacing(6);
    scoreRow->addWidget(watch);
    scoreRow->addWidget(time);
    scoreRow->addStretch(1);
    layout->addLayout(scoreRow);

    const QString note = standing(m_result);
    auto* standingLabel = Theme::label(note, content, QStringLiteral("standing"));
    standingLabel->setFont(Theme::captionFont(standingLabel));
    Theme::secondary(standingLabel);
    standingLabel->setVisible(!note.isEmpty());
    layout->addWidget(standingLabel);

    auto* buttons = new QHBoxLayout();
    buttons->setSpacing(8);
    auto* exportButton = new QPushButton(QStringLiteral("Export Result…"), content);
    exportButton->setObjectName(QStringLiteral("exportResult"));
    connect(exportButton, &QPushButton::clicked, this, [this] { m_store.exportResult(m_result); });
    auto* printButton = new QPushButton(QStringLiteral("Print Result…"), content);
    printButton->setObjectName(QStringLiteral("printResult"));
    connect(printButton, &QPushButton::clicked, this, &ResultView::print);
    auto* practise = new QPushButton(QStringLiteral("Practise Incorrect Answers"), content);
    practise->setObjectName(QStringLiteral("practiseIncorrect"));
    Theme::prominent(practise);
    const QList<Question> wrong = wrongQuestions(m_result);
    practise->setEnabled(!wrong.isEmpty());
    connect(practise, &QPushButton::clicked, this, [this] {
        const Session& s = m_result.session;
        m_store.begin(s.pool, Modes::mistakes, s.name, true, QString(), wrongQuestions(m_result));
    });
    buttons->addWidget(exportButton);
    buttons->addWidget(printButton);
    buttons->addWidget(practise);
    buttons->addStretch(1);
    layout->addLayout(buttons);

    m_onlyWrongSwitch = new QCheckBox(QStringLiteral("Show only incorrect or unanswered questions"), content);
    m_onlyWrongSwitch->setObjectName(QStringLiteral("onlyWrong"));
    m_onlyWrongSwitch->setAccessibleName(m_onlyWrongSwitch->text());
    m_onlyWrongSwitch->setChecked(m_onlyWrong);
    m_onlyWrongSwitch->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(m_onlyWrongSwitch, &QCheckBox::toggled, this, [this](bool on) {
        m_onlyWrong = on;
        refreshList();
    });
    layout->addWidget(m_onlyWrongSwitch);

    m_list = new QVBoxLayout();
    m_list->setSpacing(10);
    layout->addLayout(m_list);
    layout->addStretch(1);
    scroll->setWidget(content);
    connect(&m_store, &Store::savedChanged, this, &ResultView::refreshBookmarks);
    refreshList();
}

QWidget* ResultView::buildHeader()
{
    auto* header = new QWidget(this);
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(0, 0, 0, 0);
    auto* titles = new QVBoxLayout();
    titles->setSpacing(3);
    auto* heading = new QLabel(title(m_result), header);
    heading->setObjectName(QStringLiteral("resultTitle"));
    heading->setFont(Theme::largeTitleFont(heading));
    if (m_result.session.isExam()) {
        Theme::toned(heading, m_result.passed() ? Theme::Tone::success : Theme::Tone::warning);
    }
    const QString finished =
        QLocale::system().toString(Dates::toDateTime(m_result.finished).toLocalTime(), QLocale::ShortFormat);
    auto* detail =
        new QLabel(QStringLiteral("Pool ") + m_result.session.pool.id + QStringLiteral(" · ") + finished, header);
    detail->setObjectName(QStringLiteral("resultDetail"));
    detail->setTextFormat(Qt::PlainText);
    detail->setFont(Theme::captionFont(detail));
    Theme::secondary(detail);
    titles->addWidget(heading);
    titles->addWidget(detail);
    row->addLayout(titles, 1);
    auto* done = new QPushButton(QStringLiteral("Done"), header);
    done->setObjectName(QStringLiteral("resultDone"));
    connect(done, &QPushButton::clicked, this, [this] { m_store.setResult(std::nullopt); });
    row->addWidget(done, 0, Qt::AlignTop);
    return header;
}

void ResultView::refreshList()
{
    while (QLayoutItem* item = m_list->takeAt(0)) {
        if (QWidget* w = item->widget())
            w->deleteLater();
        delete item;
    }
    m_bookmarks.clear();
    const Session& s = m_result.session;
    const QList<Question> shown = m_onlyWrong ? wrongQuestions(m_result) : s.questions;
    if (m_onlyWrong && shown.isEmpty()) {
        auto* none = new QWidget(this);
        none->setObjectName(QStringLiteral("noIncorrect"));
        auto* row = new QHBoxLayout(none);
        row->setContentsMargins(0, 8, 0, 0);
        auto* icon = new QLabel(none);
        Icons::show(icon, QStringLiteral("checkmark.seal"), Theme::Tone::success, 22);
        auto* text = new QLabel(QStringLiteral("No incorrect answers. Well done!"), none);
        text->setObjectName(QStringLiteral("noIncorrectText"));
        row->addWidget(icon);
        row->addWidget(text);
        row->addStretch(1);
        m_list->addWidget(none);
        return;
    }
    for (const Question& q : shown) {
        auto* card = new QFrame(this);
        card->setObjectName(QStringLiteral("resultQuestion-") + q.id);
        card->setProperty("card", true);
        auto* column = new QVBoxLayout(card);
        column->setContentsMargins(16, 12, 16, 12);
        column->setSpacing(5);
        auto* headline = Theme::label(q.id + QStringLiteral(" · ") + q.prompt, card, QStringLiteral("headline"));
        headline->setFont(Theme::headlineFont(headline));
        const auto it = s.answers.constFind(q.id);
        const std::optional<qint64> chosen = it == s.answers.constEnd() ? std::nullopt : std::optional<qint64>(*it);
        auto* yours =
            Theme::label(QStringLiteral("Your answer: ") + answerText(q, chosen), card, QStringLiteral("yours"));
        auto* correct = Theme::label(QStringLiteral("Correct answer: ") + answerText(q, q.correct), card,
                                     QStringLiteral("correct"));
        Theme::toned(correct, Theme::Tone::success);
        column->addWidget(headline);
        column->addWidget(yours);
        column->addWidget(correct);
        if (!q.reference.isEmpty()) {
            auto* reference = Theme::label(q.reference, card, QStringLiteral("reference"));
            reference->setFont(Theme::captionFont(reference));
            Theme::secondary(reference);
            column->addWidget(reference);
        }
        auto* actions = new QHBoxLayout();
        actions->setSpacing(8);
        if (const auto file = m_store.diagramFile(q)) {
            auto* view = new QPushButton(QStringLiteral("View Diagram"), card);
            view->setObjectName(QStringLiteral("viewDiagram"));
            connect(view, &QPushButton::clicked, this, [this, f = *file] { showDiagram(f); });
            actions->addWidget(view);
        }
        auto* bookmark = new QPushButton(Icons::icon(QStringLiteral("bookmark"), Theme::Tone::accent),
                                         QStringLiteral("Bookmark"), card);
        bookmark->setObjectName(QStringLiteral("bookmark"));
        connect(bookmark, &QPushButton::clicked, this, [this, q] { m_store.toggleBookmark(m_result.session.pool, q); });
        m_bookmarks.append({bookmark, q});
        actions->addWidget(bookmark);
        actions->addStretch(1);
        column->addLayout(actions);
        m_list->addWidget(card);
    }
    refreshBookmarks();
}

void ResultView::refreshBookmarks()
{
    // The button keeps its title; the filled icon tells whether the question is bookmarked.
    const QSet<QString>& bookmarks = m_store.saved().bookmarks;
    for (const auto& [button, question] : std::as_const(m_bookmarks)) {
        if (!button)
            continue;
        const bool on = bookmarks.contains(m_store.key(m_result.session.pool, question));
        button->setIcon(
            Icons::icon(on ? QStringLiteral("bookmark.fill") : QStringLiteral("bookmark"), Theme::Tone::accent));
        button->setProperty("bookmarked", on);
    }
}

void ResultView::showDiagram(const QString& file)
{
    m_diagram = file;
    m_viewer = new DiagramView(m_store, file, this);
    m_viewer->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_viewer, &QDialog::finished, this, [this] { m_diagram.reset(); });
    m_viewer->open();
}

void ResultView::print()
{
    const std::unique_ptr<QTextDocument> document = printDocument(m_result);
    auto* const printDocument = Modules::entry<Entries::PrintDocument>(Entries::printModule, Entries::printDocument);
    if (printDocument)
        printDocument(*document, QStringLiteral("Kestovan Aerowen — Practice Result"), QStringLiteral("Print Result"),
                      this);
}
