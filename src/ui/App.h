// The application object and the root screen: one store, one main window, the sections and the background checks.
#pragma once

#include <QMainWindow>
#include <QPointer>
#include <memory>
#include <optional>

class QApplication;
class QButtonGroup;
class QComboBox;
class QLabel;
class QMessageBox;
class QPushButton;
class QStackedWidget;
class QTimer;
class Appearance;
class ExamView;
class ResultView;
class Store;

// The root screen: header with the learner picker, release banner, and the body (sections, question screen or
// result screen). Its window is the application's one main window.
class RootView : public QMainWindow
{
    Q_OBJECT

public:
    explicit RootView(Store& store, QWidget* parent = nullptr);

    // The sidebar's sections in order; each identifier is also its visible title.
    static const QStringList& sections();
    // The icon name of a section; "book" for an identifier not in the table.
    static QString iconName(const QString& tab);
    // The screen of a section; any identifier that is not one of the other sections gives the Learn screen.
    static QWidget* makeSection(const QString& tab, Store& store, QWidget* parent);

    QString tab() const { return m_tab; }
    void setTab(const QString& tab);
    // The screen currently filling the body.
    QWidget* currentBody() const;
    QWidget* currentSection() const;

    // The pool check and then the release check, one after the other (at launch and once a day).
    void runChecks();
    // The View menu's Appearance choices, checked as the appearance's mode.
    void addAppearanceMenu(Appearance& appearance);

protected:
    void showEvent(QShowEvent* event) override;
    // Enter presses the focused button or card, as Space does.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildHeader(QWidget* parent);
    QWidget* buildBanner(QWidget* parent);
    QWidget* buildSections(QWidget* parent);
    void buildMenus();
    void refreshProfiles();
    void refreshBanner();
    void refreshBody();
    void showMessage();

    Store& m_store;
    QString m_tab = QStringLiteral("Learn");
    bool m_launched = false;
    QComboBox* m_profilePicker = nullptr;
    QWidget* m_banner = nullptr;
    QLabel* m_bannerText = nullptr;
    QStackedWidget* m_body = nullptr;
    QWidget* m_sectionsPage = nullptr;
    QStackedWidget* m_sectionStack = nullptr;
    QHash<QString, QWidget*> m_sectionPages;
    QButtonGroup* m_sidebar = nullptr;
    QPointer<ExamView> m_exam;
    QPointer<ResultView> m_resultView;
    QPointer<QMessageBox> m_alert;
    QTimer* m_daily = nullptr;
};

// The application object: creates the one store and the main window, and saves an open session on every way out.
class AerowenApp : public QObject
{
    Q_OBJECT

public:
    // Throws BuiltInPackError when the store cannot start.
    explicit AerowenApp(QApplication& app);
    ~AerowenApp() override;

    Store& store() { return *m_store; }
    RootView& root() { return *m_root; }

    // Turns SIGTERM, SIGINT and SIGHUP into a normal quit, so that the draft is saved on logout or kill too.
    void handleTerminationSignals();

private:
    std::unique_ptr<Appearance> m_appearance;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<RootView> m_root;
};
