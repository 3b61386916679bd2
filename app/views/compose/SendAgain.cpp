#include "views/compose/SendAgain.h"

#include "domain/MailError.h"
#include "format/MessageComposer.h"
#include "views/style/PlainAlert.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDataStream>
#include <QPushButton>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::SendAgain {

namespace {

struct Text {
    Q_DECLARE_TR_FUNCTIONS(SendAgain)
};

/// What the recipients would see of it.
QByteArray contentOf(const ComposeDraft& draft)
{
    QByteArray fields;
    QDataStream stream(&fields, QIODevice::WriteOnly);
    stream << draft.accountID << draft.to << draft.cc << draft.bcc << draft.subject << draft.body
           << draft.isRichText << draft.initialHTML.value_or(QString());
    for (const OutgoingAttachment& attachment : draft.attachments)
        stream << attachment.filename << attachment.mimeType
               << QCryptographicHash::hash(attachment.data, QCryptographicHash::Sha256);
    return QCryptographicHash::hash(fields, QCryptographicHash::Sha256);
}

} // namespace

Task<Decision> ask(Outcome<bool> look, QWidget* window, AlertTurn turn)
{
    const bool isThere = look.value && *look.value;
    QString text =
        Text::tr("This message may have gone out already: the server never confirmed it. It isn’t in Sent, "
                 "which proves nothing where the server keeps no copy.");
    if (isThere)
        text = Text::tr("This message is in Sent: it has gone out. Whoever gets it again gets it twice.");
    else if (look.failure)
        text = Text::tr("This message may have gone out already, and Sent can’t be searched: %1")
                   .arg(localizedText(look.failure));
    QMessageBox* const alert =
        makePlainAlert(Text::tr("Send This Message Again?"), text, QMessageBox::NoButton, window);
    alert->setObjectName("sendAgainAlert"_L1);
    QPushButton* const close =
        isThere ? alert->addButton(Text::tr("Close Message"), QMessageBox::ActionRole) : nullptr;
    QPushButton* const again = addDestructiveButton(*alert, Text::tr("Send Again"), QMessageBox::ActionRole);
    QPushButton* const cancel = alert->addButton(Text::tr("Cancel"), QMessageBox::ActionRole);
    alert->setDefaultButton(cancel);
    alert->setEscapeButton(cancel);
    const QList<QAbstractButton*> buttons{again, close};
    const qsizetype answer = co_await answerTo(alert, buttons, turn);
    if (answer == 0)
        co_return Decision::send;
    co_return answer == 1 && isThere ? Decision::close : Decision::stay;
}

ComposeDraft::Attempt attempt(const AppModel& model, const ComposeDraft& draft)
{
    const QByteArray content = contentOf(draft);
    if (draft.attempt && draft.attempt->content == content)
        return *draft.attempt;
    const auto sender = std::ranges::find(model.accounts(), draft.accountID, &Account::id);
    const QString address = sender == model.accounts().end() ? QString() : sender->email;
    return {MessageComposer::freshMessageID(address), draft.accountID, content};
}

bool mayHaveGoneOut(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const MailError& error) {
        return error.mayHaveBeenSent();
    } catch (...) {
        return false;
    }
}

} // namespace Larkhaven::SendAgain
