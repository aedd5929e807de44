// A section screen that shows its title and one line until its full screen is in place.
#pragma once

#include <QWidget>

class Store;

class PlaceholderSection : public QWidget
{
    Q_OBJECT

public:
    PlaceholderSection(Store& store, const QString& title, const QString& line, QWidget* parent = nullptr);
};
