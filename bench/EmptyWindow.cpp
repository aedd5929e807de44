// The yardstick of the start-up benchmark: a bare Qt Widgets window of the application's size, shown at once.
#include <QApplication>
#include <QWidget>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Empty"));
    window.resize(1180, 800);
    window.show();
    return QApplication::exec();
}
