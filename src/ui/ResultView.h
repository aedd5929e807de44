// The result screen: pass or fail, score and time, the standing note, export, print, practice of the mistakes and
// the list of questions.
#pragma once

#include "model/Learner.h"

#include <QPointer>
#include <QWidget>
#include <memory>
#include <optional>

class DiagramView;
class QCheckBox;
class QPushButton;
class QTextDocument;
class QVBoxLayout;
class Store;

class ResultView : public QWidget
{
    Q_OBJECT

public:
    ResultView(Store& store, const Result& result, QWidget* parent = nullptr);

    const Result& result() const { return m_result; }
    // The questions answered wrongly or left unanswered, in session order.
    static QList<Question> wrongQuestions(const Result& result);
    // The title of the screen: "Passed" or "Keep Practising" for exams, "Practice Complete" otherwise.
    static QString title(const Result& result);
    // The standing note under the score; empty for practice modes.
    static QString standing(const Result& result);
    // The printed report laid out as it goes to the printer: 540 points wide, system font at 12 points.
    static std::unique_ptr<QTextDocument> printDocument(const Result& result);

    bool onlyWrong() const { return m_onlyWrong; }
    std::optional<QString> diagram() const { return m_diagram; }

    // Lays the printed report out and hands it to the print dialog.
    void print();

private:
    QWidget* buildHeader();
    void refreshList();
    void showDiagram(const QString& file);
    void refreshBookmarks();

    Store& m_store;
    Result m_result;
    bool m_onlyWrong = true;
    std::optional<QString> m_diagram;
    QCheckBox* m_onlyWrongSwitch = nullptr;
    QVBoxLayout* m_list = nullptr;
    QPointer<DiagramView> m_viewer;
    QList<std::pair<QPointer<QPushButton>, Question>> m_bookmarks;
};
