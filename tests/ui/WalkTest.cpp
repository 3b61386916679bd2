#include "Gestures.h"
#include "UITestSupport.h"
#include "format/MIMEParser.h"
#include "integration/MailServer.h"
#include "protocols/StreamTransport.h"
#include "providers/IMAPProvider.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "views/compose/AddressField.h"
#include "views/compose/ComposeTextView.h"
#include "views/compose/ComposeWindows.h"
#include "views/list/MessageTable.h"
#include "views/main/SidebarView.h"
#include "views/setup/IMAPSetupView.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

constexpr auto patience = 30s;

/// A person who lives in the program with an account on real servers, from the welcome on.
class WalkTest : public testing::Test {
protected:
    WalkTest()
        : mail(QList<Account>{})
    {
        mail.fixture.setTransports(MailTransports::open);
    }

    AppModel& model() { return mail.model(); }

    template <typename Condition>
    static bool comes(Condition condition)
    {
        return waitUntil(condition, patience);
    }
    template <typename Widget>
    static Widget& child(const QWidget& parent, const char* name)
    {
        auto* const found = parent.findChild<Widget*>(QLatin1StringView(name));
        if (!found)
            throw std::runtime_error(name);
        return *found;
    }
    static void type(QWidget& field, const QString& text)
    {
        field.setFocus();
        // As an input method does, which knows more than ASCII.
        QInputMethodEvent event;
        event.setCommitString(text);
        QApplication::sendEvent(&field, &event);
    }
    static void replace(QLineEdit& field, const QString& text)
    {
        field.setFocus();
        field.selectAll();
        QTest::keyClicks(&field, text);
    }

    void addAccount()
    {
        mail.open();
        takeScreenshot(*mail.window, u"walk-01-welcome"_s);
        QTest::mouseClick(&mail.child<QPushButton>("addIMAP"), Qt::LeftButton);
        ASSERT_TRUE(comes([] { return visibleWindow<IMAPSetupView>(); }));
        IMAPSetupView& form = *visibleWindow<IMAPSetupView>();
        const ServerSettings settings = *server.account(ConnectionSecurity::startTLS).server;
        type(child<QLineEdit>(form, "setupName"), u"Mara Lindqvist"_s);
        type(child<QLineEdit>(form, "setupEmail"), QString::fromLatin1(MailServer::address));
        type(child<QLineEdit>(form, "setupPassword"), QString::fromLatin1(MailServer::password));
        clickButton(form, u"Server Settings"_s);
        replace(child<QLineEdit>(form, "imapHost"), settings.imapHost);
        replace(child<QLineEdit>(form, "smtpHost"), settings.smtpHost);
        replace(child<QLineEdit>(form, "setupUsername"), settings.username);
        child<QSpinBox>(form, "imapPort").setValue(settings.imapPort);
        child<QSpinBox>(form, "smtpPort").setValue(settings.smtpPort);
        for (const char* name : {"imapSecurity", "smtpSecurity"})
            child<QComboBox>(form, name).setCurrentText(u"STARTTLS"_s);
        takeScreenshot(form, u"walk-02-setup"_s);
        QTest::mouseClick(&child<QPushButton>(form, "setupSignIn"), Qt::LeftButton);
        ASSERT_TRUE(comes([this] { return !model().accounts().isEmpty(); })) << wordsOnScreen();
        ASSERT_TRUE(comes([this] { return !model().isLoading(); }));
        takeScreenshot(*mail.window, u"walk-03-inbox"_s);
    }

    ComposeWindow& newestWindow()
    {
        if (!comes([this] { return !mail.window->composeWindows().windows().isEmpty(); }))
            throw std::runtime_error("no compose window opened");
        ComposeWindow& window = *mail.window->composeWindows().windows().last();
        show(window);
        return window;
    }
    static void sendFrom(ComposeWindow& window)
    {
        const QPointer<ComposeWindow> sending(&window);
        QTest::mouseClick(&child<QToolButton>(window, "send"), Qt::LeftButton);
        EXPECT_TRUE(comes([&sending] { return !sending || sending->view().error(); }));
        EXPECT_FALSE(sending && sending->view().error())
            << (sending ? sending->view().error()->text.toStdString() : std::string());
    }
    static void write(ComposeWindow& window, const char* field, const QString& text)
    {
        type(child<AddressField>(window, field).line(), text);
    }

    /// Shows the mailbox and waits until it lists so many messages.
    void expectListed(Mailbox role, qsizetype count)
    {
        model().selectMailbox(MailboxRef::system(role));
        EXPECT_TRUE(comes([this, count] {
            if (!model().isLoading() && model().messages().size() != count)
                model().start(model().load(0, true));
            return model().messages().size() == count;
        })) << "there are "
            << model().messages().size();
    }
    /// The newest message of a mailbox of an account, from the server.
    static ParsedMessage newest(IMAPProvider& provider, Mailbox role, qsizetype count)
    {
        MessagePage page;
        const QDeadlineTimer deadline(patience);
        while (page.messages.size() < count && !deadline.hasExpired())
            page = await(provider.listMessages(MailboxRef::system(role), std::nullopt, 0, 50, true));
        if (page.messages.size() != count)
            throw std::runtime_error("another number of messages");
        return MIMEParser::parse(await(provider.fetchRaw(page.messages.first().id)));
    }
    static QStringList addresses(const QList<EmailAddress>& list)
    {
        QStringList texts;
        for (const EmailAddress& address : list)
            texts.append(address.address);
        return texts;
    }
    QUrl file(const QString& name, const QByteArray& bytes) const
    {
        QFile made(folder.filePath(name));
        if (!made.open(QIODevice::WriteOnly) || made.write(bytes) != bytes.size())
            throw std::runtime_error(name.toStdString());
        return QUrl::fromLocalFile(made.fileName());
    }

    QTemporaryDir folder;
    MailServer server{{u"--messages"_s, u"empty"_s}, MailServer::Submission::postfix};
    MailWindow mail;
};

TEST_F(WalkTest, FromTheWelcomeToASentDraft)
{
    const QString mara = QString::fromLatin1(MailServer::address);
    const QString theo = QString::fromLatin1(MailServer::secondAddress);
    const std::shared_ptr<IMAPProvider> theos = server.providerOf(MailServer::secondAddress);
    addAccount();

    // A message in rich text with copies, attachments, and a subject beyond ASCII.
    QTest::mouseClick(&mail.child<QToolButton>("newMessage"), Qt::LeftButton);
    ComposeWindow* window = &newestWindow();
    write(*window, "to", theo);
    write(*window, "cc", mara);
    window->view().setShowsBcc(true);
    write(*window, "bcc", u"\"Theo in secret\" <%1>"_s.arg(theo));
    type(child<QLineEdit>(*window, "subject"), u"Grüße aus Malmö – 旅行"_s);
    leftClick(child<QAbstractButton>(*window, "richText"));
    auto& text = child<ComposeTextView>(*window, "composeText");
    text.setFocus();
    text.moveCursor(QTextCursor::Start);
    QTest::keyClicks(&text, u"Plain words, "_s);
    QTest::keyClick(&text, Qt::Key_B, Qt::ControlModifier);
    QTest::keyClicks(&text, u"bold words"_s);
    window->view().addFiles(
        {file(u"notes.txt"_s, "first file"), file(u"résumé 旅.bin"_s, QByteArray(300'000, '\x81'))});
    ASSERT_TRUE(comes([window] { return window->view().draft().attachments.size() == 2; }));
    takeScreenshot(*window, u"walk-04-compose"_s);
    sendFrom(*window);

    const ParsedMessage arrived = newest(*theos, Mailbox::inbox, 1);
    EXPECT_EQ(arrived.headers.subject(), u"Grüße aus Malmö – 旅行");
    EXPECT_EQ(arrived.headers.from(), QList{EmailAddress(u"Mara Lindqvist"_s, mara)});
    EXPECT_EQ(addresses(arrived.headers.to()), QStringList(theo));
    EXPECT_EQ(addresses(arrived.headers.cc()), QStringList(mara));
    EXPECT_FALSE(arrived.headers.value(u"Bcc")) << "blind copies are nobody's business";
    EXPECT_TRUE(arrived.textBody->startsWith(u"Plain words, bold words"_s))
        << arrived.textBody->toStdString();
    ASSERT_TRUE(arrived.htmlBody);
    EXPECT_TRUE(arrived.htmlBody->contains(u"bold words"_s));
    EXPECT_FALSE(arrived.htmlBody->contains(u"-qt-"_s));
    ASSERT_EQ(arrived.attachments.size(), 2);
    EXPECT_EQ(arrived.attachments[0].filename, u"notes.txt");
    EXPECT_EQ(arrived.attachments[0].data, "first file");
    EXPECT_EQ(arrived.attachments[1].filename, u"résumé 旅.bin");
    EXPECT_EQ(arrived.attachments[1].data, QByteArray(300'000, '\x81'));

    const std::shared_ptr<IMAPProvider> maras = server.providerOf(MailServer::address);
    const ParsedMessage filed = newest(*maras, Mailbox::sent, 1);
    EXPECT_EQ(filed.headers.decoded(u"Bcc"), u"\"Theo in secret\" <%1>"_s.arg(theo));
    EXPECT_EQ(filed.attachments.size(), 2);

    // The copy arrives here as well, is read, and answered to all.
    expectListed(Mailbox::inbox, 1);
    mail.read(model().messages().first().id);
    takeScreenshot(*mail.window, u"walk-05-arrived"_s);
    QTest::mouseClick(&mail.child<QToolButton>("replyAll"), Qt::LeftButton);
    window = &newestWindow();
    EXPECT_EQ(child<QLineEdit>(*window, "subject").text(), u"Re: Grüße aus Malmö – 旅行");
    EXPECT_TRUE(window->view().draft().body.contains(u"> Plain words, bold words"_s));
    takeScreenshot(*window, u"walk-06-reply"_s);
    // An answer to one's own message goes to those who have it.
    EXPECT_TRUE(child<AddressField>(*window, "to").text().contains(theo));
    EXPECT_FALSE(child<AddressField>(*window, "cc").text().contains(mara));
    sendFrom(*window);
    EXPECT_EQ(newest(*theos, Mailbox::inbox, 2).headers.subject(), u"Re: Grüße aus Malmö – 旅行");
    expectListed(Mailbox::inbox, 1);

    // Forwarded with its attachments.
    model().setPath({});
    mail.read(model().messages().last().id);
    QTest::mouseClick(&mail.child<QToolButton>("forward"), Qt::LeftButton);
    window = &newestWindow();
    EXPECT_EQ(window->view().draft().attachments.size(), 2);
    write(*window, "to", theo);
    takeScreenshot(*window, u"walk-07-forward"_s);
    sendFrom(*window);
    const ParsedMessage forwarded = newest(*theos, Mailbox::inbox, 3);
    EXPECT_EQ(forwarded.headers.subject(), u"Fwd: Grüße aus Malmö – 旅行");
    EXPECT_EQ(forwarded.attachments.size(), 2);

    // A draft is stored when its window closes, resumed, and sent: the stored one goes.
    model().setPath({});
    model().newMessage(theo);
    window = &newestWindow();
    type(child<QLineEdit>(*window, "subject"), u"Half a thought"_s);
    window->close();
    QPointer<QMessageBox> question;
    ASSERT_TRUE(comes([&] {
        for (auto* const box : window->findChildren<QMessageBox*>())
            question = box->isVisible() ? box : question.data();
        return !question.isNull();
    }));
    takeScreenshot(*window, u"walk-08-save-draft"_s);
    clickButton(*question, u"Save"_s);
    ASSERT_TRUE(comes([this] { return mail.window->composeWindows().windows().isEmpty(); }));
    expectListed(Mailbox::drafts, 1);
    takeScreenshot(*mail.window, u"walk-09-drafts"_s);
    mail.table().setFocus();
    QTest::keyClicks(&mail.table(), u"jo"_s);
    window = &newestWindow();
    EXPECT_EQ(child<QLineEdit>(*window, "subject").text(), u"Half a thought");
    auto& rest = child<ComposeTextView>(*window, "composeText");
    rest.setFocus();
    QTest::keyClicks(&rest, u"and its other half"_s);
    takeScreenshot(*window, u"walk-10-resumed"_s);
    sendFrom(*window);
    expectListed(Mailbox::drafts, 0);
    const ParsedMessage whole = newest(*theos, Mailbox::inbox, 4);
    EXPECT_EQ(whole.headers.subject(), u"Half a thought");
    EXPECT_TRUE(whole.textBody->contains(u"and its other half"_s));
    expectListed(Mailbox::sent, 4);
    takeScreenshot(*mail.window, u"walk-11-sent"_s);

    // Archived by a key.
    expectListed(Mailbox::inbox, 1);
    mail.table().setFocus();
    QTest::keyClicks(&mail.table(), u"je"_s);
    EXPECT_TRUE(model().messages().isEmpty());
    expectListed(Mailbox::archive, 1);
}

} // namespace
} // namespace Larkhaven
