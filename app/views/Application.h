#pragma once

#include "app/platform/DesktopAppearance.h"
#include "model/AppModel.h"
#include "views/ContentView.h"

#include <QApplication>

#include <memory>

namespace Larkhaven {

/// The running program: the one model, its looks, and its main window. Made after nothing else of Qt, on the
/// main thread.
class Application {
public:
    Application(int& argc, char** argv);

    AppModel& model() { return m_model; }
    ContentView& window() { return *m_window; }

    /// Shows the window and runs until the user quits; gives the exit code of the process.
    int run();

private:
    /// What must be told to Qt before the application object exists.
    struct Preparation {
        Preparation();
    };

    void followAppearance();

    Preparation m_preparation;
    QApplication m_application;
    AppModel m_model;
    DesktopAppearance m_appearance;
    std::unique_ptr<ContentView> m_window;
};

} // namespace Larkhaven
