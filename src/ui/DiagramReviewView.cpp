// The diagram review sheet.
#include "DiagramReviewView.h"

#include "ReviewCanvas.h"
#include "SectionWidgets.h"
#include "Theme.h"
#include "store/Store.h"

#include <QBuffer>
#include <QComboBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>
#include <cmath>

using namespace SectionWidgets;

namespace {

// Edges that miss a whole pixel only by rounding noise of the unit fractions stay on that pixel.
int floorPixel(double value)
{
    const double nearest = std::round(value);
    return std::abs(value - nearest) < 1e-6 ? int(nearest) : int(std::floor(value));
}

int ceilPixel(double value)
{
    const double nearest = std::round(value);
    return std::abs(value - nearest) < 1e-6 ? int(nearest) : int(std::ceil(value));
}

QString pngBase64(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG"))
        return {};
    return QString::fromLatin1(bytes.toBase64());
}

} // namespace

DiagramReviewView::DiagramReviewView(Store& store, DiagramReview review, QWidget* parent)
    : QDialog(parent), m_store(store), m_review(std::move(review))
{
    const bool demo = m_review.isDemo.value_or(false);
    setObjectName(QStringLiteral("diagramReview"));
    setWindowTitle(demo ? QStringLiteral("Test Diagram Review") : QStringLiteral("Review Diagrams"));
    setModal(true);
    setFixedWidth(760);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 22, 22, 22);
    layout->setSpacing(12);

    QLabel* heading = title(windowTitle(), this);
    heading->setObjectName(QStringLiteral("reviewTitle"));
    layout->addWidget(heading);
    if (demo) {
        QLabel* sample =
            note(QStringLiteral("Sample sheet only — your question pools and progress will not change."), this);
        sample->setObjectName(QStringLiteral("sampleNote"));
        layout->addWidget(sample);
    }
    layout->addWidget(body(QStringLiteral("Choose a figure and its source sheet. Drag around only that diagram, "
                                          "including its label. Check the preview before saving."),
                           this));

    auto* pickers = new QHBoxLayout;
    pickers->setSpacing(10);
    m_figure = new QComboBox(this);
    name(m_figure, QStringLiteral("figurePicker"), QStringLiteral("Figure"));
    m_figure->addItems(m_review.labels);
    m_sheet = new QComboBox(this);
    name(m_sheet, QStringLiteral("sourceSheetPicker"), QStringLiteral("Source sheet"));
    for (qsizetype i = 0; i < m_review.images.size(); ++i)
        m_sheet->addItem(QStringLiteral("Image ") + QString::number(i + 1));
    auto* figureLabel = plain(QStringLiteral("Figure"), this);
    figureLabel->setBuddy(m_figure);
    auto* sheetLabel = plain(QStringLiteral("Source sheet"), this);
    sheetLabel->setBuddy(m_sheet);
    pickers->addWidget(figureLabel);
    pickers->addWidget(m_figure, 1);
    pickers->addSpacing(12);
    pickers->addWidget(sheetLabel);
    pickers->addWidget(m_sheet, 1);
    layout->addLayout(pickers);

    auto* sheetFrame = new QFrame(this);
    sheetFrame->setObjectName(QStringLiteral("sheetFrame"));
    auto* sheetLayout = new QHBoxLayout(sheetFrame);
    sheetLayout->setContentsMargins(8, 8, 8, 8);
    m_canvas = new ReviewCanvas(sheetFrame);
    sheetLayout->addStretch(1);
    sheetLayout->addWidget(m_canvas);
    sheetLayout->addStretch(1);
    sheetFrame->setMinimumHeight(330 + 18);
    layout->addWidget(sheetFrame);

    m_use = new QPushButton(this);
    m_use->setObjectName(QStringLiteral("useSelection"));
    makePrimary(m_use);
    auto* useRow = new QHBoxLayout;
    useRow->addWidget(m_use);
    useRow->addStretch(1);
    layout->addLayout(useRow);

    auto* previewRow = new QHBoxLayout;
    previewRow->setSpacing(14);
    m_preview = new QLabel(this);
    m_preview->setObjectName(QStringLiteral("cropPreview"));
    m_preview->setAccessibleName(QStringLiteral("Crop preview"));
    m_preview->setFixedSize(220, 120);
    m_preview->setAlignment(Qt::AlignCenter);
    previewRow->addWidget(m_preview, 0, Qt::AlignTop);
    auto* questionsColumn = new QVBoxLayout;
    questionsColumn->setSpacing(4);
    m_questionsHeading = plain(QString(), this);
    m_questionsHeading->setObjectName(QStringLiteral("questionsHeading"));
    QFont bold = m_questionsHeading->font();
    bold.setBold(true);
    m_questionsHeading->setFont(bold);
    questionsColumn->addWidget(m_questionsHeading);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->viewport()->setAutoFillBackground(false);
    scroll->setFixedHeight(96);
    auto* questionsHolder = new QWidget(scroll);
    questionsHolder->setAutoFillBackground(false);
    m_questionsLayout = new QVBoxLayout(questionsHolder);
    m_questionsLayout->setContentsMargins(0, 0, 0, 0);
    scroll->setWidget(questionsHolder);
    questionsColumn->addWidget(scroll);
    previewRow->addLayout(questionsColumn, 1);
    layout->addLayout(previewRow);

    auto* bottom = new QHBoxLayout;
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
    name(cancel, QStringLiteral("reviewCancel"), QStringLiteral("Cancel"));
    m_progress = plain(QString(), this);
    m_progress->setObjectName(QStringLiteral("reviewProgress"));
    m_progress->setProperty("role", QStringLiteral("note"));
    m_confirm = new QPushButton(this);
    m_confirm->setObjectName(QStringLiteral("confirmReview"));
    makePrimary(m_confirm);
    bottom->addWidget(cancel);
    bottom->addStretch(1);
    bottom->addWidget(m_progress);
    bottom->addStretch(1);
    bottom->addWidget(m_confirm);
    layout->addLayout(bottom);

    connect(m_figure, &QComboBox::currentIndexChanged, this, [this](int index) {
        m_label = index >= 0 ? m_review.labels.value(index) : QString();
        refresh();
        showPreview();
    });
    connect(m_sheet, &QComboBox::currentIndexChanged, this, &DiagramReviewView::chooseSheet);
    connect(m_canvas, &ReviewCanvas::selectionChanged, this, &DiagramReviewView::refresh);
    connect(m_use, &QPushButton::clicked, this, &DiagramReviewView::useSelection);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_confirm, &QPushButton::clicked, this, &DiagramReviewView::confirm);

    chooseSheet(0);
    showPreview();
}

QString DiagramReviewView::activeLabel() const
{
    if (!m_label.isEmpty())
        return m_label;
    return m_review.labels.value(0);
}

QImage DiagramReviewView::crop(const QImage& image, const QRectF& selection)
{
    const double width = image.width(), height = image.height();
    const int left = floorPixel(selection.left() * width);
    const int top = floorPixel(selection.top() * height);
    const int right = ceilPixel(selection.right() * width);
    const int bottom = ceilPixel(selection.bottom() * height);
    const QRect pixels = QRect(QPoint(left, top), QPoint(right - 1, bottom - 1)).intersected(image.rect());
    return pixels.isEmpty() ? QImage() : image.copy(pixels);
}

void DiagramReviewView::chooseSheet(int index)
{
    // A selection belongs to the sheet it was dragged on.
    m_canvas->setImage(index >= 0 ? QImage::fromData(m_review.images.value(index)) : QImage());
    refresh();
}

void DiagramReviewView::useSelection()
{
    const QImage pixels = crop(m_canvas->image(), m_canvas->selection());
    const QString encoded = pixels.isNull() ? QString() : pngBase64(pixels);
    if (encoded.isEmpty() || activeLabel().isEmpty())
        return;
    m_crops.insert(activeLabel(), encoded);
    refresh();
    showPreview();
}

void DiagramReviewView::refresh()
{
    const QString label = activeLabel();
    m_use->setText(QStringLiteral("Use Selection for ") + label);
    m_use->setAccessibleName(m_use->text());
    const QRectF selection = m_canvas->selection();
    m_use->setEnabled(!m_saving && selection.width() >= 0.01 && selection.height() >= 0.01);

    qsizetype reviewed = 0;
    for (const QString& l : m_review.labels)
        reviewed += m_crops.contains(l) ? 1 : 0;
    m_progress->setText(QStringLiteral("%1 of %2 figures reviewed").arg(reviewed).arg(m_review.labels.size()));

    if (m_saving)
        m_confirm->setText(QStringLiteral("Saving…"));
    else if (m_review.isDemo.value_or(false))
        m_confirm->setText(QStringLiteral("Finish Test"));
    else
        m_confirm->setText(Theme::buttonText(QStringLiteral("Confirm Diagrams & Retry Update")));
    m_confirm->setAccessibleName(Theme::shownText(m_confirm->text()));
    m_confirm->setEnabled(!m_saving && reviewed == m_review.labels.size());
}

void DiagramReviewView::showPreview()
{
    const QString label = activeLabel();
    QImage image;
    if (m_crops.contains(label))
        image = QImage::fromData(QByteArray::fromBase64(m_crops.value(label).toLatin1()));
    if (image.isNull()) {
        // A label without a crop has an empty frame.
        m_preview->clear();
    } else {
        m_preview->setText(QString());
        m_preview->setPixmap(
            QPixmap::fromImage(image).scaled(QSize(212, 112), Qt::KeepAspectRatio, Qt::SmoothTransformation));
    }

    m_questionsHeading->setText(QStringLiteral("Questions using ") + label);
    auto* lines = new QWidget;
    auto* linesLayout = new QVBoxLayout(lines);
    linesLayout->setContentsMargins(0, 0, 0, 0);
    linesLayout->setSpacing(2);
    for (const Question& q : m_review.questions) {
        if (q.figure.value_or(QString()) != label)
            continue;
        QLabel* line = caption(q.id + QStringLiteral(": ") + q.prompt, lines);
        line->setObjectName(QStringLiteral("questionLine"));
        linesLayout->addWidget(line);
    }
    linesLayout->addStretch(1);
    if (m_questions) {
        m_questionsLayout->removeWidget(m_questions);
        m_questions->setParent(nullptr);
        m_questions->deleteLater();
    }
    m_questions = lines;
    m_questionsLayout->addWidget(lines);
    lines->show();
}

void DiagramReviewView::confirm()
{
    if (m_review.isDemo.value_or(false)) {
        // A sample is finished here: nothing is stored, the alert says what the learner should check.
        m_completion = new QMessageBox(this);
        m_completion->setObjectName(QStringLiteral("reviewComplete"));
        m_completion->setIcon(QMessageBox::Information);
        m_completion->setWindowTitle(QStringLiteral("Diagram Review Test Complete"));
        m_completion->setText(QStringLiteral("Diagram Review Test Complete"));
        m_completion->setInformativeText(
            QStringLiteral("All four sample figures were assigned. Check that each preview contains only its intended "
                           "diagram. No question pools or progress were changed."));
        QPushButton* done = m_completion->addButton(QStringLiteral("Done"), QMessageBox::AcceptRole);
        name(done, QStringLiteral("reviewDone"), QStringLiteral("Done"));
        m_completion->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_completion, &QMessageBox::finished, this, [this] {
            m_completion = nullptr;
            accept();
        });
        m_completion->open();
        return;
    }

    m_saving = true;
    refresh();
    // The test parse blocks while it reads the document; paint the saving state before it starts.
    m_confirm->repaint();
    m_store.saveDiagramReview(m_review, m_crops);
    if (!m_store.message().isEmpty()) {
        m_saving = false;
        refresh();
        return;
    }
    // Saved crops start the update again; the sheet says "Saving…" until that check has finished.
    if (m_store.checking())
        connect(&m_store, &Store::updateCheckFinished, this, &QDialog::accept, Qt::SingleShotConnection);
    else
        accept();
}
