// The "Profiles" section: add and choose learners, and clear every learner's data on this computer.
#pragma once

#include "SectionView.h"

class QLineEdit;
class QMessageBox;
class QPushButton;
class QVBoxLayout;
class Store;

class ProfilesView : public SectionView
{
    Q_OBJECT

public:
    explicit ProfilesView(Store& store, QWidget* parent = nullptr);

    // The open "Clear All Data for Everyone?" question, if any.
    QMessageBox* confirmation() const { return m_confirmation; }

protected:
    void redraw() override;
    void reset() override;

private:
    void addProfile();
    void confirmReset();

    Store& m_store;
    QLineEdit* m_name = nullptr;
    QPushButton* m_add = nullptr;
    QVBoxLayout* m_layout = nullptr;
    QWidget* m_rows = nullptr;
    QMessageBox* m_confirmation = nullptr;
};
