#include "providers/GmailHistory.h"

#include "providers/GmailMessage.h"

using namespace Qt::StringLiterals;

namespace Larkhaven::GmailHistory {

namespace {

/// What was said last of each label, by message. To relabel a row takes the time of all its labels, and
/// thousands of records may name one message.
class LastWords {
public:
    void note(const QJsonArray& entries, bool isAdded)
    {
        for (const auto entry : entries) {
            QHash<QString, bool>& labels = m_added[messageID(entry)];
            for (const QString& label : GmailMessage::strings(entry["labelIds"_L1]))
                labels[label] = isAdded;
        }
    }

    /// What was said before of a message that is gone is of no use.
    void noteDeleted(const QJsonArray& entries, GmailSyncState& state)
    {
        for (const auto entry : entries) {
            m_added.remove(messageID(entry));
            state.remove(messageID(entry));
        }
    }

    void applyTo(GmailSyncState& state) const
    {
        for (auto message = m_added.cbegin(); message != m_added.cend(); ++message) {
            QList<QString> added;
            QList<QString> removed;
            for (auto label = message->cbegin(); label != message->cend(); ++label)
                (*label ? added : removed).append(label.key());
            state.apply({message.key()}, added, removed);
        }
    }

private:
    static QString messageID(const QJsonValue& entry) { return entry["message"_L1]["id"_L1].toString(); }

    QHash<QString, QHash<QString, bool>> m_added; ///< of the labels of a message, whether they were added
};

} // namespace

void apply(const QJsonArray& records, GmailSyncState& state)
{
    LastWords words;
    for (const auto record : records) {
        words.noteDeleted(record["messagesDeleted"_L1].toArray(), state);
        words.note(record["labelsAdded"_L1].toArray(), true);
        words.note(record["labelsRemoved"_L1].toArray(), false);
    }
    words.applyTo(state);
}

} // namespace Larkhaven::GmailHistory
