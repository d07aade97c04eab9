// A bare window, started as the installer is: the baseline for the installer's
// time from start to its window shown.

#include <QApplication>
#include <QWidget>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QWidget window;
    window.showMaximized();
    return QApplication::exec();
}
