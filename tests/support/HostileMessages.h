#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// Messages and texts that take an unguarded window seconds or minutes to lay out.
namespace Larkhaven::HostileMessages {

struct Message {
    QString name;
    QByteArray raw;
    /// Whether an answer to it leaves something out.
    bool isCut = true;
};

/// Those that somebody sends.
QList<Message> received();
/// Those that lie in the drafts; another program may have written them.
QList<Message> drafts();

struct Text {
    QString name;
    QString text;
    bool isHTML = false;
};

/// What a clipboard may hold.
QList<Text> pastes();

/// What a link to write to somebody may hold.
QList<Text> recipients();

} // namespace Larkhaven::HostileMessages
