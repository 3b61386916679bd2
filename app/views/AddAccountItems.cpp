#include "views/AddAccountItems.h"

#include <QMenu>

using namespace Qt::StringLiterals;

namespace Larkhaven::AddAccountItems {

void fill(QMenu& menu, AppModel& model, const std::function<void()>& openSetup)
{
    QAction* const imap = menu.addAction(QMenu::tr("Other Mail Account (IMAP)…"), &menu, [&model, openSetup] {
        model.setImapSetupAccountID(std::nullopt);
        openSetup();
    });
    imap->setObjectName("addIMAP"_L1);
    const auto followSignIn = [imap, &model] { imap->setEnabled(!model.isSigningIn()); };
    QObject::connect(&model, &AppModel::signingInChanged, imap, followSignIn);
    followSignIn();
}

} // namespace Larkhaven::AddAccountItems
