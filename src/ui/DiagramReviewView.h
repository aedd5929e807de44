// The diagram review sheet: the learner crops each figure out of an official sheet that holds several.
#pragma once

#include "model/DiagramReview.h"

#include <QDialog>
#include <QImage>
#include <QMap>

class QComboBox;
class QLabel;
class QMessageBox;
class QPushButton;
class QVBoxLayout;
class ReviewCanvas;
class Store;

class DiagramReviewView : public QDialog
{
    Q_OBJECT

public:
    DiagramReviewView(Store& store, DiagramReview review, QWidget* parent = nullptr);

    // The figure the next crop is for: the chosen label, else the review's first.
    QString activeLabel() const;
    const QMap<QString, QString>& crops() const { return m_crops; }
    bool saving() const { return m_saving; }
    const DiagramReview& review() const { return m_review; }
    // The open "Diagram Review Test Complete" alert of a finished sample, if any.
    QMessageBox* completion() const { return m_completion; }

    // The pixels of the unit-coordinate selection, widened outward to whole pixels.
    static QImage crop(const QImage& image, const QRectF& selection);

private:
    void chooseSheet(int index);
    void useSelection();
    void confirm();
    void refresh();
    void showPreview();

    Store& m_store;
    DiagramReview m_review;
    QString m_label;
    QMap<QString, QString> m_crops;
    bool m_saving = false;

    QComboBox* m_figure = nullptr;
    QComboBox* m_sheet = nullptr;
    ReviewCanvas* m_canvas = nullptr;
    QPushButton* m_use = nullptr;
    QLabel* m_preview = nullptr;
    QLabel* m_questionsHeading = nullptr;
    QVBoxLayout* m_questionsLayout = nullptr;
    QWidget* m_questions = nullptr;
    QLabel* m_progress = nullptr;
    QPushButton* m_confirm = nullptr;
    QMessageBox* m_completion = nullptr;
};
