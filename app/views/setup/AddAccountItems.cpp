#include "views/setup/AddAccountItems.h"

#include <QMenu>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// An item that can be chosen while no sign-in is under way.
void add(QMenu& menu, AppModel& model, const QString& text, QLatin1StringView name, bool isPossible,
         const std::function<void()>& choose)
{
    QAction* const item = menu.addAction(text, &menu, choose);
    item->setObjectName(name);
    const auto followSignIn = [item, isPossible, &model] {
        item->setEnabled(isPossible && !model.isSigningIn());
    };
    QObject::connect(&model, &AppModel::signingInChanged, item, followSignIn);
    followSignIn();
}

} // namespace

void AddAccountItems::fill(QMenu& menu, AppModel& model, const std::function<void()>& openSetup)
{
    fill(menu, model, openSetup,
         {tr("Google…"), tr("Microsoft (Outlook.com)…"), tr("Other Mail Account (IMAP)…")});
}

void AddAccountItems::fillShort(QMenu& menu, AppModel& model, const std::function<void()>& openSetup)
{
    fill(menu, model, openSetup, {tr("Google"), tr("Microsoft"), tr("IMAP")});
}

void AddAccountItems::fill(QMenu& menu, AppModel& model, const std::function<void()>& openSetup,
                           const Names& names)
{
    const auto signIn = [&model](ProviderKind provider) {
        return [&model, provider] { model.start(model.signIn(provider)); };
    };
    add(menu, model, names.google, "addGoogle"_L1, model.canSignIn(ProviderKind::google),
        signIn(ProviderKind::google));
    add(menu, model, names.microsoft, "addMicrosoft"_L1, model.canSignIn(ProviderKind::microsoft),
        signIn(ProviderKind::microsoft));
    add(menu, model, names.imap, "addIMAP"_L1, true, [&model, openSetup] {
        model.setImapSetupAccountID(std::nullopt);
        openSetup();
    });
}

} // namespace Larkhaven
