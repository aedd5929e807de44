// The Learn section: pool cards, completed licences, the session set-up and the saved sessions.
#pragma once

#include "model/Learner.h"

#include <QUuid>
#include <QWidget>
#include <optional>

class QCheckBox;
class QComboBox;
class QFrame;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;
class Store;

class LearnView : public QWidget
{
    Q_OBJECT

public:
    explicit LearnView(Store& store, QWidget* parent = nullptr);

    // The practice modes offered, in order.
    static const QStringList& modes();
    // The licence levels that can be marked complete, in order, and the title of each switch.
    static const QStringList& levels();
    static QString levelTitle(const QString& level);
    // The entry of a pool in the "Question Pool" picker.
    static QString poolEntry(const Pool& pool, const QString& today);

    // The pool the set-up uses: the chosen one if it is still a study pool, else the first current one, else the
    // first study pool.
    std::optional<Pool> pool() const;

    // Screen state, readable for tests.
    QString poolID() const { return m_poolID; }
    QString mode() const { return m_mode; }
    QString name() const { return m_name; }
    bool shuffle() const { return m_shuffle; }

    void start();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void buildSetUp(QVBoxLayout* layout);
    void refresh();
    void refreshCards();
    void refreshCompleted();
    void refreshSetUp();
    void refreshSessions();
    void refreshButtons();
    void takeProfileName();
    void confirmDelete(const Session& session);

    Store& m_store;
    QString m_poolID;
    QString m_mode = QStringLiteral("Study All");
    QString m_name;
    QString m_code;
    bool m_shuffle = true;
    std::optional<Session> m_deletingSession;
    bool m_showCompleted = false;
    // Filled by the constructor for the showing that follows it, and not changed since.
    bool m_filledForShow = false;
    QUuid m_profileId;

    QHBoxLayout* m_cards = nullptr;
    QPushButton* m_completedToggle = nullptr;
    QWidget* m_completedPanel = nullptr;
    QList<QCheckBox*> m_levelSwitches;
    QLabel* m_allComplete = nullptr;
    QFrame* m_setUp = nullptr;
    QComboBox* m_poolPicker = nullptr;
    QComboBox* m_modePicker = nullptr;
    QCheckBox* m_shuffleSwitch = nullptr;
    QWidget* m_savedProfileBox = nullptr;
    QComboBox* m_savedProfilePicker = nullptr;
    QLineEdit* m_nameField = nullptr;
    QPushButton* m_save = nullptr;
    QPushButton* m_add = nullptr;
    QWidget* m_challenge = nullptr;
    QLineEdit* m_codeField = nullptr;
    QWidget* m_warning = nullptr;
    QLabel* m_warningText = nullptr;
    QPushButton* m_start = nullptr;
    QWidget* m_sessions = nullptr;
    QVBoxLayout* m_sessionRows = nullptr;
};
