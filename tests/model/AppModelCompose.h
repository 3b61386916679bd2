#pragma once

#include "domain/MailError.h"
#include "model/AppModel.h"
#include "support/ModelFixture.h"

#include <gtest/gtest.h>

namespace Larkhaven {

/// A model of two accounts that is asked for drafts.
class AppModelCompose : public testing::Test {
protected:
    /// The draft of the window that was asked for last.
    ComposeDraft opened()
    {
        const std::optional<QUuid> id = model().pendingCompose();
        const std::optional<ComposeDraft> seed = id ? model().takeSeed(*id) : std::nullopt;
        EXPECT_TRUE(seed) << "no window was asked for";
        return seed.value_or(ComposeDraft());
    }
    MessageSummary message(const QByteArray& raw)
    {
        const MessageSummary row = ModelFixture::row(fixture.account(), QStringLiteral("7"));
        fixture.provider().setRaw(row.id, raw);
        return row;
    }
    ComposeDraft draftTo(const QString& to) const
    {
        ComposeDraft draft;
        draft.id = QUuid::createUuid();
        draft.accountID = fixture.account().id;
        draft.to = to;
        return draft;
    }
    QString refusal(const ComposeDraft& draft, bool forSending)
    {
        try {
            model().outgoing(draft, forSending);
        } catch (const MailError& error) {
            return error.text();
        }
        return QStringLiteral("accepted");
    }

    AppModel& model() { return fixture.model(); }

    ModelFixture fixture{
        {ModelFixture::imapAccount(), ModelFixture::imapAccount(QStringLiteral("second@example.org"))}};
};

} // namespace Larkhaven
