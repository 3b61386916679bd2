#include "app/platform/NoGraphicsDriver.h"
#include "views/reader/SecureMessageView.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>

#include <optional>

// The least that a window of this program could be: its libraries, its preparation, and a word.

using namespace Larkhaven;

int main(int argc, char** argv)
{
    SecureMessageView::prepareEngine();
    std::optional<NoGraphicsDriver> noGraphicsDriver(std::in_place);
    const QApplication application(argc, argv);
    noGraphicsDriver.reset();
    QMainWindow window;
    auto* const label = new QLabel(QStringLiteral("Larkhaven"));
    QFont font = label->font();
    font.setPointSize(60);
    label->setFont(font);
    window.setCentralWidget(label);
    window.resize(1100, 700);
    window.show();
    return QApplication::exec();
}
