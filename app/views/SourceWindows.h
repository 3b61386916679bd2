#pragma once

#include "model/AppModel.h"

#include <QHash>
#include <QObject>
#include <QPointer>

class QWidget;

namespace Larkhaven {

/// The windows that show the source of messages, one for each message. Main thread.
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
    QWidget* window(const QString& messageID) const { return m_windows.value(messageID); }

private:
    Task<> show(MessageSummary row);

    AppModel& m_model;
    QHash<QString, QPointer<QWidget>> m_windows;
};

} // namespace Larkhaven
