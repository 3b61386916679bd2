#pragma once

#include "format/ParsedMessage.h"
#include "model/AppModel.h"
#include "safety/LinkCleaner.h"
#include "safety/LinkRecord.h"
#include "safety/SanitizedHTML.h"
#include "views/reader/AttachmentsRow.h"
#include "views/reader/ReaderHeaders.h"
#include "views/reader/SecureMessageView.h"

#include <QPointer>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include <functional>
#include <optional>

class QMessageBox;
class QProgressBar;
class QScrollArea;
class QStackedLayout;

namespace Larkhaven {

class EmptyStateView;
class NoticeBanner;
class ReaderBanner;

/// The pane that shows one message: its headers, a banner about what was held back, the message in its
/// sandbox, and its attachments. It owns the decisions around a message: whether remote content loads, what a
/// click on a link does, how attachments are saved. What the row of the list knows of the headers shows at
/// once, while the message is fetched.
///
/// One pane serves one message after another; each gets a fresh decision about remote content.
class ReaderView : public QWidget {
    Q_OBJECT

public:
    /// What the pane asks of the desktop. Tests give their own.
    struct Desktop {
        std::function<void(const QUrl&)> openURL;
        /// Where to save a file of the suggested name; empty if the user gave up.
        std::function<QString(QWidget* parent, const QString& suggestedName)> chooseSavePath;
    };
    static Desktop systemDesktop();

    explicit ReaderView(AppModel& model, Desktop desktop = systemDesktop(), QWidget* parent = nullptr);
    ~ReaderView() override;

    /// Fetches the message and shows it.
    void showMessage(const QString& messageID);
    /// Lets go of the message.
    void close();

    /// The decoded subject (as `DisplayText` gives it, once the message is there) or "(no subject)".
    QString title() const;
    const std::optional<SanitizedHTML>& rendered() const { return m_rendered; }
    const std::optional<QString>& loadError() const { return m_loadError; }
    bool showsRemote() const { return m_showRemote; }

    /// What a click on a link does.
    void followLink(const LinkRecord& link);

Q_SIGNALS:
    void titleChanged();
    void shown();
    /// The bytes of the message on screen are asked for.
    void sourceRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Task<> load(QString messageID);
    Task<> render();
    /// Closes a question that waits about what was on screen before.
    void dropQuestion();
    void update();
    void showHeaders();
    void showMarks();
    void showBody();
    void showBanner();
    void setLoadError(const QString& text);
    void setShowRemote(bool isShown);
    void showAsText();
    void takeTrouble();
    /// Takes the keyboard from the message, whose widget goes with its document.
    void takeFocus();
    /// Gives the message the keys that the pane would get, as soon as it can take them.
    void passFocus(Qt::FocusReason reason);
    bool handleKey(QKeyEvent* event);
    /// Where headers and message don't fit the pane, the keys that scroll the message bring all of it to
    /// light first. Whether they have.
    bool scrollAround(const QKeyEvent& event);
    /// Opens the link, or asks first. What was clicked before it and is still being judged is dropped, and so
    /// is this where another message comes.
    Task<> judgeLink(LinkRecord link);
    void confirmLink(const LinkRecord& link, const QList<LinkCleaner::Warning>& warnings);
    void openLink(const LinkRecord& link);
    /// Where the link leads: the one place where it is cleaned, if the user wants that.
    MailURL destination(const LinkRecord& link) const;
    Task<> saveAttachment(MailAttachment attachment);
    /// Whether the attachment is to be saved; asks where it can run programs. The question goes with the
    /// message, and that is a no.
    Task<bool> isToBeSaved(MailAttachment attachment);
    void measure();

    AppModel& m_model;
    Desktop m_desktop;
    QString m_messageID;
    int m_linkClicks = 0;
    /// Tells what was started for the message on screen from what was started before.
    quint64 m_generation = 0;
    std::optional<ParsedMessage> m_parsed;
    ShownHeaders m_shownHeaders; ///< of `m_parsed`, read on a worker
    ShownSender m_shownSender;
    QList<AttachmentsRow::File> m_files; ///< of `m_parsed`, judged on a worker
    std::optional<SanitizedHTML> m_rendered;
    SecureMessageView::Body m_renderedBody = SecureMessageView::Body::html; ///< of `m_rendered`
    std::optional<QString> m_loadError;
    bool m_showRemote = false;
    bool m_isText = false;                   ///< the message shows as its text alone
    bool m_lacksSandbox = false;             ///< of the engine; for good
    bool m_keepsFocus = false;               ///< a document that goes gets none
    std::optional<LinkRecord> m_pendingLink; ///< waits for a confirmation
    std::optional<quint64> m_asking;         ///< the generation in which an attachment is judged
    QPointer<QMessageBox> m_saveAlert;
    QPointer<QMessageBox> m_linkAlert;

    QStackedLayout* m_states;
    EmptyStateView* m_error;
    QScrollArea* m_scroll;
    QWidget* m_content;
    ReaderHeaders* m_headers;
    ReaderBanner* m_banner;
    NoticeBanner* m_incomplete;
    QStackedLayout* m_body; ///< the card, or what waits in its place
    QWidget* m_waiting;
    QProgressBar* m_progress;
    QTimer m_patience; ///< until it shows
    SecureMessageView* m_message;
    QWidget* m_card; ///< around it
    AttachmentsRow* m_attachments;
};

} // namespace Larkhaven
