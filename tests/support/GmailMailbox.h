#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace Larkhaven {

/// What a Gmail account holds, in memory: labels, messages, drafts and the history of their changes. It knows
/// no HTTP: `GmailService` answers requests from it, and a test changes it as another client would. Listings
/// cost what they give, also with some 100,000 messages.
class GmailMailbox {
public:
    struct Label {
        QString id;
        QString name;
        bool isSystem = false;
        QString labelListVisibility;
        QString messageListVisibility;

        bool operator==(const Label&) const = default;
    };

    struct Message {
        QString id;
        QString threadId;
        QSet<QString> labelIds;
        qint64 internalDate = 0; ///< ms since 1970
        QByteArray raw;
        QString snippet; ///< plain text
        quint64 historyId = 0;

        bool operator==(const Message&) const = default;
    };

    struct NewMessage {
        QByteArray raw;
        QSet<QString> labelIds = {};
        QString threadId = {};                         ///< empty: one of its own
        qint64 internalDate = 0;                       ///< 0: later than all others
        QString id = {};                               ///< empty: the next one
        std::optional<QString> snippet = std::nullopt; ///< absent: the beginning of the body
    };

    enum class Change { messageAdded, messageDeleted, labelAdded, labelRemoved };
    struct HistoryRecord {
        quint64 id;
        Change change;
        QString messageId;
        QString threadId;
        QSet<QString> labelIds; ///< that were added or removed
        QSet<QString> after;    ///< the message's labels behind the change
    };

    /// Where a message stands in listings: newest first.
    struct Place {
        qint64 date;
        quint64 number;

        bool operator==(const Place&) const = default;
        bool operator<(const Place& other) const
        {
            return std::pair(other.date, other.number) < std::pair(date, number);
        }
    };

    explicit GmailMailbox(QString address);

    const QString& address() const { return m_address; }

    // --- Messages
    QString insert(const NewMessage& message);
    /// Null where there is none.
    const Message* message(const QString& id) const;
    /// Newest first.
    QList<Message> messages() const;
    qsizetype messageCount() const { return static_cast<qsizetype>(m_messages.size()); }
    bool hasThread(const QString& threadId) const { return m_threads.contains(threadId); }
    qsizetype threadCount() const { return m_threads.size(); }
    /// Whether there was a change. Unknown messages have none.
    bool modify(const QString& id, const QSet<QString>& add, const QSet<QString>& remove);
    bool trash(const QString& id);
    bool remove(const QString& id);
    void setSnippet(const QString& id, const QString& snippet);
    /// Whether a message, thread, label or draft of this id once was there.
    bool isGone(const QString& id) const { return m_gone.contains(id); }

    // --- Listings
    /// Calls `visit` for the messages with all of the labels that stand behind `behind`, newest first, until
    /// it returns false.
    void visit(const QSet<QString>& labelIds, const std::optional<Place>& behind,
               const std::function<bool(const Place&, const Message&)>& visit) const;

    // --- Labels
    /// System labels first, then the user's in the order in which they were made.
    const QList<Label>& labels() const { return m_labels; }
    const Label* label(const QString& id) const;
    /// By a name in any case; null where there is none.
    const Label* labelNamed(const QString& name) const;
    /// The id of the new label, the next one where none is given. Its name must be free.
    QString createLabel(const QString& name, const QString& labelListVisibility = QStringLiteral("labelShow"),
                        const QString& messageListVisibility = QStringLiteral("show"),
                        const QString& id = {});
    void updateLabel(const Label& label);
    void deleteLabel(const QString& id);
    qsizetype total(const QString& labelId) const;
    qsizetype unread(const QString& labelId) const { return m_unread.value(labelId); }

    // --- Drafts
    /// Message ids by draft id.
    const QMap<QString, QString>& drafts() const { return m_drafts; }
    QString createDraft(const QByteArray& raw, const QString& threadId = {});
    /// The draft gets another message, in the thread of the old one where none is named.
    void updateDraft(const QString& draftId, const QByteArray& raw, const QString& threadId);
    /// The draft goes; its text is a new message with the label SENT in the same thread. Its id.
    QString sendDraft(const QString& draftId);
    void removeDraft(const QString& draftId);

    // --- History
    quint64 historyId() const { return m_historyId; }
    /// Oldest first.
    const std::deque<HistoryRecord>& history() const { return m_history; }
    /// Whether all that came after the position is still known.
    bool isHistoryKnown(quint64 position) const { return position >= m_forgotten; }
    /// Forgets all that was recorded.
    void expireHistory();

private:
    void index(const Place& place, const Message& message, int step);
    void record(Change change, Message& message, const QSet<QString>& labelIds);
    QString nextId();

    QString m_address;
    std::map<Place, Message> m_messages;
    QHash<QString, Place> m_places; ///< by message id
    QHash<QString, std::set<Place>> m_labelled;
    QHash<QString, qsizetype> m_unread;  ///< by label id
    QHash<QString, qsizetype> m_threads; ///< messages by thread id
    QList<Label> m_labels;
    QSet<QString> m_gone;
    QMap<QString, QString> m_drafts;
    std::deque<HistoryRecord> m_history;
    quint64 m_historyId = 1000;
    quint64 m_forgotten = 0;
    quint64 m_nextNumber = 1;
    int m_nextLabel = 1;
    int m_nextDraft = 1;
};

} // namespace Larkhaven
