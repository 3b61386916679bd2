#pragma once

#include "UITestSupport.h"

#include <QList>

#include <array>
#include <memory>

namespace Larkhaven {

/// Each kind of window that the program has, with something of everything in it.
class Gallery {
public:
    enum class Scene {
        list,
        reader,
        plainMessage,
        richMessage,
        accountsPane,
        generalPane,
        composingPane,
        privacyPane,
        setup,
        signIn,
        welcome,
        newLabel,
        labelDeletion,
        errorAlert,
        linkAlert,
        saveSheet,
        source,
    };
    static constexpr std::array allScenes{Scene::list,          Scene::reader,       Scene::plainMessage,
                                          Scene::richMessage,   Scene::accountsPane, Scene::generalPane,
                                          Scene::composingPane, Scene::privacyPane,  Scene::setup,
                                          Scene::signIn,        Scene::welcome,      Scene::newLabel,
                                          Scene::labelDeletion, Scene::errorAlert,   Scene::linkAlert,
                                          Scene::saveSheet,     Scene::source};
    static QString nameOf(Scene scene);

    explicit Gallery(Scene scene);
    ~Gallery();
    Gallery(const Gallery&) = delete;
    Gallery& operator=(const Gallery&) = delete;

    /// Opens it on the screen; `window` is null where that fails.
    void open();
    /// The window that the scene is about.
    QWidget* window() const { return m_window; }
    /// Whether something in it moves without end, so that no two pictures are the same.
    bool moves() const { return m_scene == Scene::signIn; }

private:
    void openMessage();
    void openCompose(bool isRich);
    void openSettings();
    void openSetup();
    void openSignIn();
    void openLabelDialogs();
    void openAlert();
    void openSource();

    Scene m_scene;
    std::unique_ptr<MailWindow> m_mail;
    QPointer<QWidget> m_window;
};

} // namespace Larkhaven
