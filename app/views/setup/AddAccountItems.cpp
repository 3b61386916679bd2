#include "views/setup/AddAccountItems.h"

#include <QCoreApplication>
#include <QMenu>

using namespace Qt::StringLiterals;

namespace Larkhaven::AddAccountItems {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(AddAccountItems)
};

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

void fill(QMenu& menu, AppModel& model, const std::function<void()>& openSetup)
{
    const auto signIn = [&model](ProviderKind provider) {
        return [&model, provider] { model.start(model.signIn(provider)); };
    };
    add(menu, model, Texts::tr("Google…"), "addGoogle"_L1, model.canSignIn(ProviderKind::google),
        signIn(ProviderKind::google));
    add(menu, model, Texts::tr("Microsoft (Outlook.com)…"), "addMicrosoft"_L1,
        model.canSignIn(ProviderKind::microsoft), signIn(ProviderKind::microsoft));
    add(menu, model, Texts::tr("Other Mail Account (IMAP)…"), "addIMAP"_L1, true, [&model, openSetup] {
        model.setImapSetupAccountID(std::nullopt);
        openSetup();
    });
}

} // namespace Larkhaven::AddAccountItems
