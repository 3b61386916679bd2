#pragma once

#include "support/WebServer.h"

#include <QList>
#include <QObject>
#include <QTimer>

#include <functional>

namespace Larkhaven {

/// Holds the requests that come to a web server of the same thread until the program has nothing else to do,
/// and then has one of them served, or sends the reply to one that was served before. So it doesn't depend on
/// the machine's load in which order requests are served, nor which of them a client sends before it has read
/// an answer.
class QuietGate : public QObject {
public:
    struct Choice {
        qsizetype index;
        /// Whether the reply is to wait, while other requests are served, until it is chosen again.
        bool isHeldBack;
    };
    /// `choose` gets the requests that wait, in an order of their own.
    using Choose = std::function<Choice(const QList<WebRequest>& waiting)>;

    QuietGate(WebServer& server, Choose choose);
    ~QuietGate() override;

private:
    struct Waiting {
        WebRequest request;
        WebServer::Serve serve;
        std::function<void()> send = {}; ///< once it was served
    };

    void hold(const WebRequest& request, const WebServer::Serve& serve);
    void tick();
    void release();

    WebServer& m_server;
    Choose m_choose;
    QList<Waiting> m_waiting;
    QTimer m_timer;
    int m_calm = 0;      ///< ticks in a row between which nothing was done
    qint64 m_worked = 0; ///< time of processors, in ns, at the last tick
};

} // namespace Larkhaven
