// The diagram viewer.
#include "DiagramView.h"

#include "Theme.h"
#include "store/Store.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QVBoxLayout>
#include <cmath>

namespace {
// The slider works in hundredths so that the zoom moves smoothly between 0.5 and 3.0.
constexpr int sliderScale = 100;
constexpr double figureWidth = 760;
} // namespace

DiagramView::DiagramView(Store& store, const QString& file, QWidget* parent) : QDialog(parent), m_file(file)
{
    setObjectName(QStringLiteral("diagramView"));
    setWindowTitle(QStringLiteral("Official NCVEC diagram"));
    setModal(true);
    setWindowModality(Qt::WindowModal);
    resize(850, 700);
    if (const auto image = store.image(file))
        m_image = *image;

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->setSpacing(12);
    auto* row = new QHBoxLayout();
    auto* title = new QLabel(QStringLiteral("Official NCVEC diagram"), this);
    title->setFont(Theme::titleFont(title, 13));
    m_slider = new QSlider(Qt::Horizontal, this);
    m_slider->setObjectName(QStringLiteral("diagramZoom"));
    m_slider->setAccessibleName(QStringLiteral("Diagram zoom"));
    m_slider->setRange(int(0.5 * sliderScale), int(3.0 * sliderScale));
    m_slider->setValue(sliderScale);
    m_slider->setFixedWidth(200);
    connect(m_slider, &QSlider::valueChanged, this, [this](int value) {
        m_zoom = double(value) / sliderScale;
        redraw();
    });
    auto* done = new QPushButton(QStringLiteral("Done"), this);
    done->setObjectName(QStringLiteral("diagramDone"));
    done->setDefault(true);
    connect(done, &QPushButton::clicked, this, &QDialog::accept);
    row->addWidget(title);
    row->addStretch(1);
    row->addWidget(m_slider);
    row->addSpacing(12);
    row->addWidget(done);
    layout->addLayout(row);

    auto* area = new QScrollArea(this);
    area->setObjectName(QStringLiteral("diagramArea"));
    area->setAlignment(Qt::AlignCenter);
    m_figure = new QLabel(area);
    m_figure->setObjectName(QStringLiteral("diagramFigure"));
    m_figure->setAccessibleName(
        QStringLiteral("Official figure. Visual diagrams require sight or external assistance."));
    m_figure->setAlignment(Qt::AlignCenter);
    area->setWidget(m_figure);
    area->setWidgetResizable(false);
    layout->addWidget(area, 1);
    redraw();
}

void DiagramView::setZoom(double zoom)
{
    m_slider->setValue(int(std::lround(std::clamp(zoom, 0.5, 3.0) * sliderScale)));
}

void DiagramView::redraw()
{
    if (m_image.isNull()) {
        m_figure->clear();
        m_figure->resize(0, 0);
        return;
    }
    // Drawn at the screen's pixel density so that the figure stays sharp when enlarged.
    const double ratio = devicePixelRatioF();
    const int width = int(std::lround(figureWidth * m_zoom));
    const QSize logical = m_image.size().scaled(QSize(width, 1 << 20), Qt::KeepAspectRatio);
    QImage scaled = m_image.scaled(logical * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    scaled.setDevicePixelRatio(ratio);
    m_figure->setPixmap(QPixmap::fromImage(scaled));
    m_figure->resize(logical);
}
