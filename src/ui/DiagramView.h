// The diagram viewer: one official figure enlarged, with a zoom control, as a sheet over the current screen.
#pragma once

#include <QDialog>
#include <QImage>

class QLabel;
class QSlider;
class Store;

class DiagramView : public QDialog
{
    Q_OBJECT

public:
    DiagramView(Store& store, const QString& file, QWidget* parent = nullptr);

    QString file() const { return m_file; }
    double zoom() const { return m_zoom; }
    void setZoom(double zoom);

private:
    void redraw();

    QString m_file;
    double m_zoom = 1.0;
    QImage m_image;
    QSlider* m_slider = nullptr;
    QLabel* m_figure = nullptr;
};
