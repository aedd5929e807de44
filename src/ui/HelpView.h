// The "Help" section: the user guide from the application's resources.
#pragma once

#include <QWidget>

class Store;

class HelpView : public QWidget
{
    Q_OBJECT

public:
    explicit HelpView(Store& store, QWidget* parent = nullptr);
};
