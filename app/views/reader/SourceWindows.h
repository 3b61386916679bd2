#pragma once

#include "model/AppModel.h"

#include <QHash>
#include <QObject>
#include <QSize>
#include <QUuid>

#include <utility>

class QWidget;

namespace Larkhaven {

/// The windows that show the source of messages, one for each message. They close when their account is
/// removed or leads to other servers, where the same id may be another message. Main thread.
class SourceWindows : public QObject {
    Q_OBJECT

public:
    static constexpr QSize defaultSize{760, 560};

    explicit SourceWindows(AppModel& model, QObject* parent = nullptr);
    ~SourceWindows() override;

    /// Fetches the message as it came and shows its bytes as text. An open window is raised instead. A
    /// failure goes to `AppModel::report`.
    void open(const MessageSummary& row);
    /// The open window of a message; null for none.
    QWidget* window(const QUuid& accountID, const QString& messageID) const
    {
        return m_windows.value({accountID, messageID});
    }

private:
    /// Ids are those of an account.
    using Key = std::pair<QUuid, QString>;

    Task<> show(MessageSummary row);
    void add(const Key& key, QWidget* window);
    void closeAll(const QUuid& accountID);

    AppModel& m_model;
    QHash<Key, QWidget*> m_windows;
};

} // namespace Larkhaven
