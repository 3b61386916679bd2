#pragma once

#include "support/ModelFixture.h"
#include "support/WaitUntil.h"
#include "views/list/MessageTable.h"
#include "views/main/ContentView.h"
#include "views/reader/SecureMessageView.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QColor>
#include <QImage>
#include <QUrl>

#include <gtest/gtest.h>
#include <memory>

namespace Larkhaven {

/// How a window is to look when it is drawn.
struct Look {
    Style::Scheme scheme;
    int textSize;
    QSize size;
};
/// A name for a screenshot of it, which tells the scale of the screen as well.
QString nameOf(const Look& look);

/// What is on the screen where the widget is.
QImage grab(const QWidget& widget);
/// Writes what is on the screen where the widget is into the folder of screenshots, as "{name}.png".
void takeScreenshot(const QWidget& widget, const QString& name);
/// Shows the window and waits until it is on the screen and has the keyboard.
void show(QWidget& window);
/// Has the window manager give the keyboard to a window that is shown.
void activate(QWidget& window);

/// The window of the kind, and of the name if one is given, that is on the screen; null for none.
template <typename Window>
Window* visibleWindow(const QString& name = {})
{
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const window = qobject_cast<Window*>(widget);
        if (window && window->isVisible() && (name.isEmpty() || window->objectName() == name))
            return window;
    }
    return nullptr;
}

/// What the labels of all windows on the screen say, for whoever has waited in vain.
std::string wordsOnScreen();

/// The pixel of the widget as it is on the screen.
QColor pixel(const QWidget& widget, const QPoint& point);
/// Whether the point gets the colour on the screen; the engine draws in a process of its own.
bool waitForColor(const QWidget& widget, const QPoint& point, const QColor& color);
/// Whether a picture of the widget stays as it is, so that everything has been drawn.
bool waitUntilDrawn(const QWidget& widget);

/// The text of the page on screen.
QString pageText(SecureMessageView& view);
/// The widget of the engine that gets mouse and keys.
QWidget& inputWidget(const SecureMessageView& view);
/// Shows the document and waits until it has loaded.
void showDocument(SecureMessageView& view, const QString& document, bool allowRemoteImages = false,
                  double zoom = 1);
/// A document that fills its page with a colour, so that a test sees when it is there.
QString filled(const QString& body, const QString& color = QStringLiteral("#00ff00"));

LinkRecord link(const QString& url, const QString& text = QStringLiteral("text"));

/// A main window over a model without network, and a desktop that only takes notes.
class MailWindow {
public:
    /// `info` names the services that can be signed in with.
    explicit MailWindow(const QList<Account>& accounts = {ModelFixture::imapAccount()},
                        const Info& info = {});
    ~MailWindow();
    MailWindow(const MailWindow&) = delete;
    MailWindow& operator=(const MailWindow&) = delete;

    /// Shows the window and waits for the rows of its first mailbox.
    void open();
    /// Puts rows into the Inbox of the first account.
    void fill(const QList<MessageSummary>& rows);
    /// Opens the message and waits until the reader has drawn it.
    void read(const QString& id);

    AppModel& model() { return fixture.model(); }
    MessageTable& table();
    template <typename Widget>
    Widget& child(const char* name)
    {
        auto* const found = window->findChild<Widget*>(QString::fromLatin1(name));
        if (!found)
            throw std::runtime_error(name);
        return *found;
    }

    ModelFixture fixture;
    QList<QUrl> openedURLs;
    QStringList suggestedNames;
    QString savePath; ///< what the user chooses; empty for giving up
    std::unique_ptr<ContentView> window;
};

/// A message of one HTML text.
QByteArray htmlMessage(const QString& html, const QString& subject = QStringLiteral("A subject"));

} // namespace Larkhaven
