#pragma once

#include "model/AppModel.h"

#include <QCoreApplication>

#include <functional>

class QMenu;

namespace Larkhaven {

/// The items of a menu that adds accounts, one for each kind. They can be chosen while no sign-in is under
/// way, those that sign in in the browser only where the build can. `openSetup` opens the window that sets an
/// account up. The menu must not outlive the model.
class AddAccountItems {
    Q_DECLARE_TR_FUNCTIONS(AddAccountItems)

public:
    static void fill(QMenu& menu, AppModel& model, const std::function<void()>& openSetup);
    /// Named by the service alone, where it is plain what they do.
    static void fillShort(QMenu& menu, AppModel& model, const std::function<void()>& openSetup);

private:
    struct Names {
        QString google;
        QString microsoft;
        QString imap;
    };
    static void fill(QMenu& menu, AppModel& model, const std::function<void()>& openSetup,
                     const Names& names);
};

} // namespace Larkhaven
