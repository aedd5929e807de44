// The question screen of a running session: one question at a time, answers, navigation, leave and submit.
#pragma once

#include <QPointer>
#include <QWidget>
#include <optional>

class CardButton;
class DiagramView;
class FigureButton;
class ElidedLabel;
class QBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QScrollArea;
class QShortcut;
class QSlider;
class QTimer;
class Store;
struct Question;

class ExamView : public QWidget
{
    Q_OBJECT

public:
    explicit ExamView(Store& store, QWidget* parent = nullptr);

    double textSize() const { return m_size; }
    // The figure shown in the diagram viewer, if one is open.
    std::optional<QString> enlarged() const { return m_enlarged; }

    // The two confirmations, opened as the "Finish & Score" and "Leave" buttons do.
    void confirmSubmit();
    void confirmLeave();

private:
    QWidget* buildHeader();
    QWidget* buildQuestion();
    QWidget* buildNavigation();
    void refresh();
    void refreshAnswers(const Question& question, bool revealed, std::optional<qint64> recorded);
    void refreshTime();
    void setTextSize(double size);
    void enlarge(const QString& file);
    // The session's questions in a list that fits the screen and filters as the learner types.
    void showJumpList();
    QStringList jumpEntries() const;
    // Places the figure beside the answers when the width allows, else above them, scaled down to leave them room.
    void fitFigure();
    bool eventFilter(QObject* watched, QEvent* event) override;

    Store& m_store;
    double m_size = 18;
    bool m_submit = false;
    bool m_leave = false;
    std::optional<QString> m_enlarged;
    QString m_shownQuestion;

    QLabel* m_title = nullptr;
    ElidedLabel* m_position = nullptr;
    QLabel* m_time = nullptr;
    QPushButton* m_leaveButton = nullptr;
    QSlider* m_sizeSlider = nullptr;
    QProgressBar* m_progress = nullptr;
    QScrollArea* m_scroll = nullptr;
    QLabel* m_questionId = nullptr;
    QPushButton* m_flag = nullptr;
    QPushButton* m_bookmark = nullptr;
    QLabel* m_prompt = nullptr;
    FigureButton* m_figure = nullptr;
    QLabel* m_figureCaption = nullptr;
    QString m_figureFile;
    QString m_figureQuestion;
    QWidget* m_answerBox = nullptr;
    QWidget* m_figureColumn = nullptr;
    QBoxLayout* m_figureRow = nullptr;
    QList<CardButton*> m_answers;
    QList<QShortcut*> m_keys;
    QPushButton* m_check = nullptr;
    QWidget* m_revealedLine = nullptr;
    QLabel* m_revealedIcon = nullptr;
    QLabel* m_revealedText = nullptr;
    QPushButton* m_previous = nullptr;
    QPushButton* m_next = nullptr;
    QPushButton* m_jump = nullptr;
    QLabel* m_counts = nullptr;
    QPushButton* m_finish = nullptr;
    QTimer* m_clock = nullptr;
    QPointer<DiagramView> m_viewer;
};
