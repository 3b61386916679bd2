#pragma once

#include "app/platform/DesktopAppearance.h"
#include "app/platform/NoGraphicsDriver.h"
#include "app/platform/Relaunch.h"
#include "app/platform/SingleInstance.h"
#include "app/platform/Translations.h"
#include "app/signin/WebAuthenticator.h"
#include "model/AppModel.h"
#include "views/main/ContentView.h"
#include "views/main/TextSizeCommands.h"

#include <QApplication>

#include <memory>
#include <optional>

namespace Larkhaven {

/// The running program: the one model, its looks, and its main window. Made after nothing else of Qt, on the
/// main thread.
///
/// Where the program runs already on this profile, there is no model and no window: the other one has been
/// asked to show itself. Nor are there any where this process was started for nothing but redirects of
/// sign-ins: no sign-in waits for them.
///
/// A redirect goes to the sign-in under way, if it is that one's, and shows no window.
class Application {
public:
    Application(int& argc, char** argv);

    /// Whether this process is the program.
    bool isFirst() const { return m_model != nullptr; }
    AppModel& model() { return *m_model; }
    ContentView& window() { return *m_window; }

    /// Shows the window and runs until the user quits; gives the exit code of the process.
    int run();
    /// What is to be started when this object has gone; absent unless the user wanted a restart.
    const std::optional<Relaunch>& relaunch() const { return m_relaunch; }

private:
    /// What must be told to Qt before the application object exists.
    struct Preparation {
        Preparation(int argc, char** argv);

        QStringList redirects;                            ///< that this process was started with
        std::optional<NoGraphicsDriver> noGraphicsDriver; ///< until the application object is made
    };

    /// What this process was started with, but for what is Qt's or our own.
    QStringList arguments() const;
    void followAppearance();
    /// Does what a start asks for: a redirect goes to its sign-in, a "mailto:" URL opens a compose window.
    /// Whether the main window is to show itself.
    bool take(QStringList arguments);
    void raiseWindow();
    void restart();

    Preparation m_preparation;
    QApplication m_application;
    Translations m_translations;
    DesktopAppearance m_appearance; ///< its questions go out first, so that the answers are there in time
    SingleInstance m_instance;
    SingleInstance::Role m_role;
    WebAuthenticator m_authenticator;
    std::unique_ptr<AppModel> m_model;
    std::unique_ptr<TextSizeCommands> m_textSizes;
    std::optional<Relaunch> m_relaunch;
    std::unique_ptr<ContentView> m_window;
};

} // namespace Larkhaven
