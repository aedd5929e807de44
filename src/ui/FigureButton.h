// The official figure of a question as a button: the image fitted into its frame (never enlarged) on white, rounded.
#pragma once

#include "CardButton.h"

#include <QImage>

class FigureButton : public CardButton
{
    Q_OBJECT

public:
    // frame is the area the image is fitted into; the button adds the padding around it.
    FigureButton(const QImage& image, const QSize& frame, int padding, QWidget* parent = nullptr);

    void setImage(const QImage& image);
    // The largest area the image may take; smaller images keep their own size (a figure is never enlarged here).
    void setFrame(const QSize& frame);
    QSize frame() const { return m_frame; }
    // The size the image is shown at within the frame.
    QSize fitted() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
    bool hasHeightForWidth() const override { return false; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage m_image;
    QSize m_frame;
    int m_padding;
};
