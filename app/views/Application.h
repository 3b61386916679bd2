#pragma once

#include "app/platform/DesktopAppearance.h"
#include "app/platform/SingleInstance.h"
#include "model/AppModel.h"
#include "views/ContentView.h"

#include <QApplication>

#include <memory>

namespace Larkhaven {

/// The running program: the one model, its looks, and its main window. Made after nothing else of Qt, on the
/// main thread.
///
/// Where the program runs already on this profile, there is no model and no window: the other one has been
/// asked to show itself.
class Application {
public:
    Application(int& argc, char** argv);

    /// Whether this process is the program.
    bool isFirst() const { return m_role == SingleInstance::Role::first; }
    AppModel& model() { return *m_model; }
    ContentView& window() { return *m_window; }

    /// Shows the window and runs until the user quits; gives the exit code of the process.
    int run();

private:
    /// What must be told to Qt before the application object exists.
    struct Preparation {
        Preparation();
    };

    void followAppearance();
    void raiseWindow();

    Preparation m_preparation;
    QApplication m_application;
    SingleInstance m_instance;
    SingleInstance::Role m_role;
    std::unique_ptr<AppModel> m_model;
    DesktopAppearance m_appearance;
    std::unique_ptr<ContentView> m_window;
};

} // namespace Larkhaven
