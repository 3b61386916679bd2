#pragma once

#include "SampleMail.h"

#include <QList>

#include <array>
#include <memory>

namespace Larkhaven {

/// Each kind of window that the program has, with something of everything in it.
class Gallery {
public:
    enum class Scene {
        list,
        quietLines,
        skeleton,
        noResults,
        reader,
        readerError,
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
        accountRemoval,
        errorAlert,
        linkAlert,
        about,
        saveSheet,
        source,
        menuOfBar,
        contextMenu,
        toolTip,
    };
    static constexpr std::array allScenes{
        Scene::list,          Scene::quietLines,     Scene::skeleton,      Scene::noResults,
        Scene::reader,        Scene::readerError,    Scene::plainMessage,  Scene::richMessage,
        Scene::accountsPane,  Scene::generalPane,    Scene::composingPane, Scene::privacyPane,
        Scene::setup,         Scene::signIn,         Scene::welcome,       Scene::newLabel,
        Scene::labelDeletion, Scene::accountRemoval, Scene::errorAlert,    Scene::linkAlert,
        Scene::about,         Scene::saveSheet,      Scene::source,        Scene::menuOfBar,
        Scene::contextMenu,   Scene::toolTip};
    static QString nameOf(Scene scene);

    explicit Gallery(Scene scene);
    ~Gallery();
    Gallery(const Gallery&) = delete;
    Gallery& operator=(const Gallery&) = delete;

    /// Opens it on the screen; `window` is null where that fails.
    void open();
    /// The window that the scene is about.
    QWidget* window() const { return m_window; }
    /// Opens again what doesn't outlast a change of the looks, or goes by itself after a while.
    void refresh();
    /// Whether the engine draws in it, which does so in its own time.
    bool hasEngine() const;

private:
    void openScene();
    void openList();
    void openQuietLines();
    void openSearch(const QString& words);
    void archive();
    void openMessage();
    void openCompose(bool isRich);
    void openSettings();
    void openSetup();
    void openSignIn();
    void openLabelDialogs();
    void openAlert();
    void openQuestion();
    void openMenu();
    void openToolTip();
    void openSource();

    Scene m_scene;
    std::unique_ptr<MailWindow> m_mail;
    QPointer<QWidget> m_window;
    QLatin1StringView m_hovered;
};

} // namespace Larkhaven
