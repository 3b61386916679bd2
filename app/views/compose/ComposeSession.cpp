#include "views/compose/ComposeSession.h"

#include "domain/LocalizedError.h"

#include <algorithm>

namespace Larkhaven {

namespace {

QList<QUuid> idsOf(const QList<OutgoingAttachment>& attachments)
{
    QList<QUuid> ids;
    for (const OutgoingAttachment& attachment : attachments)
        ids.append(attachment.id);
    return ids;
}

} // namespace

ComposeSession::ComposeSession(AppModel& model, const ComposeDraft& draft, bool isUnsaved, Surface& surface,
                               Hooks hooks, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_draft(draft)
    , m_surface(surface)
    , m_hooks(std::move(hooks))
    , m_isUnsaved(isUnsaved)
{
    for (QTimer* const timer : {&m_keepSoon, &m_keepAtLast}) {
        timer->setSingleShot(true);
        connect(timer, &QTimer::timeout, this, &ComposeSession::keep);
    }
}

void ComposeSession::begin()
{
    // A long text is never compared.
    m_original = m_surface.textState().length > longestCompared ? m_surface.fields(m_draft) : draft();
    if (m_isUnsaved)
        followChange();
}

ComposeDraft ComposeSession::draft() const
{
    return m_surface.text(m_surface.fields(m_draft));
}

// --- What is unsaved

bool ComposeSession::hasUnsavedChanges() const
{
    if (!m_original)
        return false;
    const ComposeDraft now = m_surface.fields(m_draft);
    return m_isUnsaved || m_surface.isReadingFiles() || now.to != m_original->to ||
           now.cc != m_original->cc || now.bcc != m_original->bcc || now.subject != m_original->subject ||
           hasOtherText() || idsOf(now.attachments) != idsOf(m_original->attachments);
}

/// Whether the text, or how it looks, is another than the original.
bool ComposeSession::hasOtherText() const
{
    const Surface::TextState text = m_surface.textState();
    if (!text.isModified || text.isPasting || text.length > longestCompared)
        return text.isModified;
    if (m_compared.first != text.revision) {
        const ComposeDraft now = draft();
        m_compared = {text.revision,
                      now.body != m_original->body || now.initialHTML != m_original->initialHTML};
    }
    return m_compared.second;
}

void ComposeSession::followChange()
{
    m_keepSoon.start(keepingDelay);
    if (!m_keepAtLast.isActive())
        m_keepAtLast.start(keepingInterval);
}

void ComposeSession::stopKeeping()
{
    m_keepSoon.stop();
    m_keepAtLast.stop();
}

void ComposeSession::keep()
{
    stopKeeping();
    if (!m_isFinished && hasUnsavedChanges())
        m_model.keepForRecovery(draft());
}

void ComposeSession::setAccount(const QUuid& accountID)
{
    m_draft.accountID = accountID;
    followChange();
}

bool ComposeSession::rescue()
{
    const QList<Account>& accounts = m_model.accounts();
    const bool isThere = std::ranges::find(accounts, m_draft.accountID, &Account::id) != accounts.end();
    if (isThere || accounts.isEmpty())
        return false;
    m_draft.accountID = accounts.first().id;
    m_isUnsaved = true;
    if (m_original)
        followChange();
    return true;
}

// --- Sending and saving

void ComposeSession::deliver(Delivery delivery)
{
    if (m_isSending || m_isFinished || std::exchange(m_delivery, delivery))
        return;
    if (m_hooks.deliveryBegan)
        m_hooks.deliveryBegan(id());
    spawn(runDelivery(this, &m_model, m_hooks), dropFailure);
}

Task<> ComposeSession::runDelivery(QPointer<ComposeSession> session, QPointer<AppModel> model, Hooks hooks)
{
    const QUuid id = session->id();
    const Outcome outcome = co_await delivered(session, model, hooks);
    if (session)
        session->m_delivery.reset();
    if (hooks.deliveryEnded)
        hooks.deliveryEnded(id, outcome);
}

/// What becomes of a text that may have gone out already.
Task<SendAgain::Decision> ComposeSession::sendAgainDecided()
{
    const QPointer<ComposeSession> self(this);
    const ComposeDraft written = draft();
    if (!written.wasSending || !written.attempt)
        co_return SendAgain::Decision::send;
    m_surface.showProgress(tr("Looking in Sent…"));
    const Larkhaven::Outcome<bool> look = co_await settled(m_model.wasSent(written));
    if (!self || m_isClosed)
        co_return SendAgain::Decision::stay;
    m_surface.showProgress({});
    const SendAgain::Decision decision = co_await m_surface.askToSendAgain(look);
    co_return decision;
}

/// Waits for what is still to come and asks what must be asked; an outcome where the text stays.
Task<std::optional<ComposeSession::Outcome>> ComposeSession::stopped()
{
    const QPointer<ComposeSession> self(this);
    const bool isComplete = co_await m_surface.complete();
    if (!self || m_isClosed)
        co_return Outcome::dropped;
    if (!isComplete)
        co_return Outcome::failed;
    const Delivery delivery = *m_delivery;
    if (replacesStored() && !m_hasAcceptedLosses) {
        const bool isAccepted = co_await m_surface.acceptLosses(delivery);
        if (!self || m_isClosed)
            co_return Outcome::dropped;
        m_hasAcceptedLosses = isAccepted;
        if (!isAccepted)
            co_return Outcome::failed;
    }
    if (delivery == Delivery::save)
        co_return std::nullopt;
    const SendAgain::Decision decision = co_await sendAgainDecided();
    if (!self || m_isClosed)
        co_return Outcome::dropped;
    if (decision == SendAgain::Decision::stay)
        co_return Outcome::failed;
    if (decision == SendAgain::Decision::close) {
        m_model.closeCompose(id());
        finish();
        co_return Outcome::done;
    }
    co_return std::nullopt;
}

Task<ComposeSession::Outcome> ComposeSession::delivered(QPointer<ComposeSession> session,
                                                        QPointer<AppModel> model, Hooks hooks)
{
    const std::optional<Outcome> stop = co_await session->stopped();
    if (stop) {
        const Outcome outcome = *stop;
        co_return outcome;
    }
    if (!session || !model)
        co_return Outcome::dropped;
    const Delivery delivery = *session->m_delivery;
    const Outcome outcome = co_await handedOver(session, model, hooks, delivery);
    co_return outcome;
}

Task<ComposeSession::Outcome> ComposeSession::handedOver(QPointer<ComposeSession> session,
                                                         QPointer<AppModel> model, Hooks hooks,
                                                         Delivery delivery)
{
    if (delivery == Delivery::send)
        session->m_draft.attempt = SendAgain::attempt(*model, session->draft());
    ComposeDraft draft = session->draft();
    const bool wasSending = draft.wasSending;
    // It may end with the process.
    draft.wasSending = wasSending || delivery == Delivery::send;
    session->m_draft.wasSending = draft.wasSending;
    session->stopKeeping();
    model->keepForRecovery(draft);
    session->m_isSending = true;
    session->m_surface.showSending(true);
    session->m_surface.showProgress(delivery == Delivery::send ? tr("Sending…") : tr("Saving…"));
    std::exception_ptr error;
    try {
        if (delivery == Delivery::send)
            co_await model->send(draft);
        else
            co_await model->saveDraft(draft);
    } catch (...) {
        error = std::current_exception();
    }
    if (!model)
        co_return Outcome::dropped;
    if (!error) {
        model->closeCompose(draft.id);
        if (session && !session->m_isClosed)
            session->finish();
        co_return Outcome::done;
    }
    const Failure failure = failureOf(delivery, error);
    draft.wasSending = wasSending || (delivery == Delivery::send && SendAgain::mayHaveGoneOut(error));
    if (session && !session->m_isClosed) {
        session->m_draft.wasSending = draft.wasSending;
        session->failed(failure);
    } else {
        model->keepForRecovery(draft);
        if (hooks.lateFailure)
            hooks.lateFailure(draft, failure);
    }
    co_return Outcome::failed;
}

ComposeSession::Failure ComposeSession::failureOf(Delivery delivery, const std::exception_ptr& error)
{
    if (delivery == Delivery::save)
        return {tr("Draft Not Saved"), localizedText(error)};
    if (!SendAgain::mayHaveGoneOut(error))
        return {tr("Message Not Sent"),
                localizedText(error) + u'\n' + tr("Your text is safe: it stays in this window.")};
    return {tr("Message May Have Been Sent"),
            tr("%1 The text is kept. Before it goes out again, Larkhaven looks for it in Sent.")
                .arg(localizedText(error))};
}

void ComposeSession::failed(const Failure& failure)
{
    m_isSending = false;
    m_surface.showSending(false);
    m_surface.showProgress({});
    // What is kept must not say any more that it was being sent. The account may be another one by now.
    m_model.keepForRecovery(draft());
    m_surface.showFailure(failure);
}

void ComposeSession::finish()
{
    m_isFinished = true;
    m_surface.closeWindow();
}

void ComposeSession::discard()
{
    stopKeeping();
    finish();
}

} // namespace Larkhaven
