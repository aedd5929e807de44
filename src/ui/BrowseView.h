// The "Browse" section: any question of any pool, found by identifier or words, shown whole and practised as found.
#pragma once

#include "SectionView.h"
#include "store/Browse.h"

#include <optional>

class ElidedLabel;
class FigureButton;
class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeView;
class QVBoxLayout;
class Store;
class FoundModel;

class BrowseView : public SectionView
{
    Q_OBJECT

public:
    explicit BrowseView(Store& store, QWidget* parent = nullptr);

    // The pool searched: the chosen one if the pack still has it, else the first current one, else the first.
    std::optional<Pool> pool() const;
    // The questions the search found, in pool order, and the one shown whole.
    const QList<Question>& found() const { return m_found; }
    QString selected() const { return m_selected; }
    // Starts a "Study All" session of exactly the questions found.
    void practise();

protected:
    void redraw() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildQuestion(QVBoxLayout* layout);
    void refreshPools();
    void search();
    void select(const QString& id);
    void refreshQuestion();
    void enlarge();

    Store& m_store;
    QString m_poolID;
    PoolSearch m_search;
    QList<Question> m_found;
    QString m_selected;
    QString m_figureFile;

    QComboBox* m_poolPicker = nullptr;
    QComboBox* m_subelementPicker = nullptr;
    QLineEdit* m_searchField = nullptr;
    QCheckBox* m_bookmarkedOnly = nullptr;
    QCheckBox* m_missedBefore = nullptr;
    QLabel* m_count = nullptr;
    QCheckBox* m_shuffle = nullptr;
    QPushButton* m_practise = nullptr;
    QTreeView* m_list = nullptr;
    FoundModel* m_model = nullptr;
    QFrame* m_question = nullptr;
    ElidedLabel* m_questionTitle = nullptr;
    QPushButton* m_bookmark = nullptr;
    QLabel* m_prompt = nullptr;
    QList<QLabel*> m_answerMarks;
    QList<QLabel*> m_answers;
    QWidget* m_figureColumn = nullptr;
    FigureButton* m_figure = nullptr;
};
