#pragma once

#include <QObject>

namespace Larkhaven {

/// A browser that was opened for one sign-in. It ends with the object, and leaves nothing behind. Main
/// thread.
class BrowserSession : public QObject {
    Q_OBJECT

Q_SIGNALS:
    /// The user has closed it.
    void closed();
    /// It ended before it could show anything.
    void failed();
};

} // namespace Larkhaven
