#pragma once

#include "support/GmailMailbox.h"
#include "support/GmailMethods.h"

#include <QJsonObject>
#include <QStringList>

namespace Larkhaven {

/// Answers requests of the Gmail API, v1, from a mailbox, and notes those that a correct client wouldn't
/// make. What it doesn't model (threads, imports, permanent deletion, attachments, `format` "full") it
/// refuses and notes as well.
class GmailService {
public:
    explicit GmailService(const QString& address);

    GmailMailbox& mailbox() { return m_mailbox; }
    const GmailMailbox& mailbox() const { return m_mailbox; }

    void setLargestPage(int size) { m_largestPage = size; }

    /// The request has a valid token.
    WebReply answer(const WebRequest& request);

    const QStringList& violations() const { return m_violations; }
    void note(const QString& violation) { m_violations.append(violation); }

private:
    QJsonObject serve(const GmailCall& call);

    QJsonObject profile(const GmailCall& call);
    QJsonObject listMessages(const GmailCall& call);
    QJsonObject getMessage(const GmailCall& call);
    QJsonObject batchModify(const GmailCall& call);
    QJsonObject modifyMessage(const GmailCall& call);
    QJsonObject trash(const GmailCall& call);
    QJsonObject send(const GmailCall& call);
    QJsonObject history(const GmailCall& call);

    QJsonObject listLabels(const GmailCall& call);
    QJsonObject getLabel(const GmailCall& call);
    QJsonObject createLabel(const GmailCall& call);
    QJsonObject updateLabel(const GmailCall& call);
    QJsonObject deleteLabel(const GmailCall& call);

    QJsonObject listDrafts(const GmailCall& call);
    QJsonObject getDraft(const GmailCall& call);
    QJsonObject createDraft(const GmailCall& call);
    QJsonObject updateDraft(const GmailCall& call);
    QJsonObject deleteDraft(const GmailCall& call);
    QJsonObject sendDraft(const GmailCall& call);

    [[noreturn]] void refuse(const GoogleError& error);
    int pageSize(const GmailCall& call) const;
    const GmailMailbox::Message& message(const QString& id);
    GmailMailbox::Label userLabel(const QString& id);
    QString draftId(const QString& id);
    QString freeName(const QJsonObject& body, const QString& id);
    QSet<QString> changedLabels(const QJsonValue& ids);
    QByteArray uploaded(const GmailCall& call, bool isSent);
    void checkMessage(const QByteArray& raw, bool isSent);
    QString thread(const QJsonObject& message);
    [[noreturn]] void refuseUnknown(const QString& id);

    GmailMethods m_methods;
    GmailMailbox m_mailbox;
    QStringList m_violations;
    QString m_request; ///< the present one
    int m_largestPage = 500;
};

} // namespace Larkhaven
