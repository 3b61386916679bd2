#pragma once

#include "UITestSupport.h"
#include "views/reader/ReaderView.h"

#include <QLabel>
#include <QMessageBox>

#include <gtest/gtest.h>
#include <memory>

namespace Larkhaven {

/// A message in the reader of a real window.
class ReaderViewTest : public testing::Test {
protected:
    /// Opens a message of the first account.
    void open(const QByteArray& raw, const QList<Account>& accounts = {ModelFixture::imapAccount()})
    {
        mail = std::make_unique<MailWindow>(accounts);
        mail->fill(ModelFixture::rows(mail->fixture.account(), 3));
        mail->fixture.provider().setRaw(QStringLiteral("1"), raw);
        change();
        mail->open();
        mail->read(QStringLiteral("1"));
    }

    /// What is other than usual before the message opens.
    virtual void change() {}

    ReaderView& reader() { return mail->window->reader(); }
    SecureMessageView& message() { return *mail->window->findChild<SecureMessageView*>(); }
    QMessageBox* alert() { return mail->window->findChild<QMessageBox*>(QStringLiteral("linkAlert")); }
    QLabel& label(const char* name) { return mail->child<QLabel>(name); }
    void set(QLatin1StringView key, const QVariant& value) { mail->fixture.defaults().set(key, value); }
    QStringList openedURLs() const
    {
        QStringList texts;
        for (const QUrl& url : mail->openedURLs)
            texts.append(url.toString(QUrl::FullyEncoded));
        return texts;
    }
    QUuid accountID() const { return mail->fixture.account().id; }
    QString alertText() { return alert() ? alert()->informativeText() : QString(); }

    std::unique_ptr<MailWindow> mail;
};

} // namespace Larkhaven
