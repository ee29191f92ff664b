// brivandelle: the desktop program.
#include <QApplication>
#include <QDir>
#include <QScreen>
#include <QStandardPaths>

#include "app/startup.h"
#include "platform/application.h"
#include "platform/qt_text.h"

int main(int argc, char** argv) {
    // The command line is one file name, taken whole before Qt sees any argument.
    const std::string commandLine = brv::JoinCommandLine(argc, argv);
    int qtArgc = 1;
    QApplication qapp(qtArgc, argv);
    QApplication::setApplicationName(QStringLiteral("Brivandelle"));

    brv::ScreenMetrics screen;
    if (const QScreen* s = QGuiApplication::primaryScreen()) {
        screen.ScreenWidth = s->geometry().width();
        screen.ScreenHeight = s->geometry().height();
    }
    const std::string appFolder = brv::FromQ(QCoreApplication::applicationDirPath());

    // Dialogs open in the user's documents folder.
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (!documents.isEmpty() && QDir(documents).exists()) QDir::setCurrent(documents);

    brv::Application app(appFolder, screen);
    app.Start(commandLine);
    return QApplication::exec();
}
