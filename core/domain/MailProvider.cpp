#include "domain/MailProvider.h"

#include "domain/MailError.h"

#include <QCoreApplication>

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(MailProvider)
};

Task<> fail(MailError error)
{
    throw error;
    co_return;
}

} // namespace

Task<> MailProvider::move(QList<QString> ids, const MailboxRef& target)
{
    if (const MailLabel* label = target.label())
        return moveToLabel(std::move(ids), *label);
    switch (*target.role()) {
    case Mailbox::inbox:
        return moveToInbox(std::move(ids));
    case Mailbox::archive:
        return archive(std::move(ids));
    case Mailbox::spam:
        return markSpam(std::move(ids));
    case Mailbox::trash:
        return trash(std::move(ids));
    case Mailbox::starred:
    case Mailbox::sent:
    case Mailbox::drafts:
        break;
    }
    return fail(MailError::unsupported(
        Texts::tr("Messages can't be moved to %1.").arg(target.name(account().provider))));
}

Task<bool> MailProvider::canPutBack(QList<QString>)
{
    co_return false;
}

Task<> MailProvider::putBack(QList<QString>)
{
    return fail(MailError::unsupported(Texts::tr("These messages can’t be moved back.")));
}

} // namespace Larkhaven
