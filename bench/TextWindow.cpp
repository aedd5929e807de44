// A second yardstick of the start-up benchmark: the bare window with one line of text, which is the least a window
// must do before it can show words (read the desktop's fonts, load one, lay the line out).
#include <QApplication>
#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Text"));
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(new QLabel(QStringLiteral("Your next step on the air"), &window));
    window.resize(1180, 800);
    window.show();
    return QApplication::exec();
}
