#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeWindows.h"
#include "views/setup/IMAPSetupView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

// The words of the program's windows: each stands where it is read, letter by letter.

namespace Larkhaven {
namespace {

/// Everything that can be read in the window: its title, what is written on what can be seen, and the help
/// that comes up over it.
QStringList wordsOf(const QWidget& window)
{
    QStringList words{window.windowTitle()};
    QList<const QWidget*> widgets{&window};
    for (const QWidget* const child : window.findChildren<QWidget*>()) {
        if (child->isVisible() && child->window() == &window)
            widgets.append(child);
    }
    for (const QWidget* const widget : std::as_const(widgets)) {
        words.append(widget->toolTip());
        words.append(widget->accessibleName());
        words.append(widget->accessibleDescription());
        if (const auto* const label = qobject_cast<const QLabel*>(widget))
            words.append(label->text());
        else if (const auto* const button = qobject_cast<const QAbstractButton*>(widget))
            words.append(plainTitle(button->text()));
        else if (const auto* const field = qobject_cast<const QLineEdit*>(widget))
            words.append(field->placeholderText());
        else if (const auto* const picker = qobject_cast<const QComboBox*>(widget)) {
            for (int index = 0; index < picker->count(); ++index)
                words.append(picker->itemText(index));
        }
    }
    return words;
}

void expectWords(const QWidget& window, const QStringList& expected)
{
    const QStringList words = wordsOf(window);
    for (const QString& word : expected)
        EXPECT_TRUE(words.contains(word)) << word.toStdString() << "\nis not among\n"
                                          << words.join(u'\n').toStdString();
}

class QuotedWordsTest : public testing::Test {
protected:
    void begin(const QList<Account>& accounts, const Info& info = {})
    {
        mail = std::make_unique<MailWindow>(accounts, info);
        if (!accounts.isEmpty())
            mail->fill(rows);
        mail->open();
    }
    void begin() { begin({ModelFixture::imapAccount()}); }
    template <typename Window>
    static Window* shown(const QString& name = {})
    {
        EXPECT_TRUE(waitUntil([&name] { return visibleWindow<Window>(name) != nullptr; }));
        return visibleWindow<Window>(name);
    }
    AppModel& model() { return mail->model(); }
    QString cell(int row, MessageColumn column, int role = Qt::DisplayRole)
    {
        return mail->table().model()->index(row, static_cast<int>(column)).data(role).toString();
    }

    QTemporaryDir folder;
    QList<MessageSummary> rows = ModelFixture::rows(ModelFixture::imapAccount(), 30);
    std::unique_ptr<MailWindow> mail;
};

TEST_F(QuotedWordsTest, StandInTheWelcome)
{
    begin({}, ModelFixture::info());
    expectWords(
        *mail->window,
        {u"Larkhaven"_s, u"Welcome to Larkhaven"_s,
         u"Add an account to get started. Google accounts sign in on Google's own page, so Larkhaven never sees that password. Other providers sign in over IMAP with a password kept in your keyring."_s,
         u"Sign In with Google…"_s, u"Sign In with Microsoft…"_s, u"Other Mail Account (IMAP)…"_s});
}

TEST_F(QuotedWordsTest, StandAroundTheList)
{
    begin();
    expectWords(*mail->window, {u"Inbox – mia@example.org"_s, u"Get New Mail (Ctrl+Shift+N)"_s,
                                u"New Message"_s, u"Archive"_s, u"Delete"_s, u"Mark as Junk"_s, u"Reply"_s,
                                u"Reply All"_s, u"Forward"_s, u"Star"_s, u"Search"_s, u"Add Account"_s,
                                u"1–25 of 30"_s, u"Jump to the newest or oldest messages"_s,
                                u"Newer (Ctrl+Alt+[)"_s, u"Older (Ctrl+Alt+])"_s});
    const QMenu* const jump = mail->child<QToolButton>("pagerJump").menu();
    EXPECT_EQ(jump->actions()[0]->text(), u"Newest");
    EXPECT_EQ(jump->actions()[1]->text(), u"Oldest");
    model().report(std::make_exception_ptr(MailError::notSignedIn()), mail->fixture.account().id);
    settle();
    expectWords(*mail->window,
                {u"Sign-In Required"_s, u"mia@example.org needs to sign in again."_s, u"Sign In…"_s});
    begin({ModelFixture::googleAccount()});
    expectWords(*mail->window, {u"Report Spam"_s});
}

TEST_F(QuotedWordsTest, StandInTheRows)
{
    rows[0].isRead = false;
    rows[0].isStarred = true;
    rows[0].hasAttachments = true;
    rows[1].subject.clear();
    rows[1].from.reset();
    begin();
    const QAbstractItemModel& table = *mail->table().model();
    QStringList titles;
    for (int column = 0; column < table.columnCount(); ++column)
        titles.append(table.headerData(column, Qt::Horizontal, Qt::ToolTipRole).toString());
    EXPECT_EQ(titles, (QStringList{u"Unread"_s, u"Starred"_s, u"Attachments"_s, u"From"_s, u"Subject"_s,
                                   u"Date"_s, u"Mailbox"_s, u"Size"_s}));
    EXPECT_EQ(cell(0, MessageColumn::unread, Qt::ToolTipRole), u"Unread");
    EXPECT_EQ(cell(0, MessageColumn::star, Qt::ToolTipRole), u"Starred");
    EXPECT_EQ(cell(0, MessageColumn::attachments, Qt::ToolTipRole), u"Has attachments");
    EXPECT_EQ(cell(1, MessageColumn::subject), u"(no subject)");
    EXPECT_EQ(cell(1, MessageColumn::from), u"(unknown sender)");
    QList<MessageSummary> sent = ModelFixture::rows(mail->fixture.account(), 2);
    sent[0].to = {EmailAddress(u"Ada"_s, u"ada@example.com"_s), EmailAddress(u"M"_s, u"mia@example.org"_s)};
    sent[1].to.clear();
    mail->fixture.provider().setListing(MailboxRef::system(Mailbox::sent), sent);
    model().selectMailbox(MailboxRef::system(Mailbox::sent));
    ASSERT_TRUE(waitUntil([this] { return !model().isLoading() && model().messages().size() == 2; }));
    EXPECT_EQ(cell(0, MessageColumn::from), u"To: Ada, me");
    EXPECT_EQ(cell(1, MessageColumn::from), u"(no recipient)");
    // The menu of a starred row.
    mail->fill(rows);
    model().selectMailbox(MailboxRef::system(Mailbox::inbox));
    ASSERT_TRUE(waitUntil([this] { return !model().isLoading() && model().messages().size() == 25; }));
    QMenu* const menu = rightClick(*mail->table().viewport(),
                                   mail->table().visualRect(mail->table().model()->index(0, 4)).center());
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->findChild<QAction*>(u"toggleStarred"_s)->text(), u"Remove Star");
    menu->close();
}

TEST_F(QuotedWordsTest, StandWhereThereIsNothing)
{
    rows.clear();
    begin();
    ASSERT_TRUE(waitUntil([this] { return mail->table().emptyState().has_value(); }));
    expectWords(*mail->window, {u"No Messages"_s});
}

TEST_F(QuotedWordsTest, StandInAnOpenMessage)
{
    begin();
    mail->fixture.provider().setRaw(
        u"1"_s, "Cc: carl@example.org\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
                "--b\r\nContent-Type: text/html\r\n\r\n<img src=\"https://img.example/a.png\" width=\"200\" "
                "height=\"100\"><img src=\"https://track.example/o.gif\" width=\"1\" height=\"1\">\r\n"
                "--b\r\nContent-Type: text/plain\r\nContent-Disposition: attachment; "
                "filename=notes.txt\r\n\r\nkept\r\n"
                "--b--\r\n");
    mail->read(u"1"_s);
    settle();
    for (const auto& [name, text] :
         {std::pair("readerSubject", u"(no subject)"_s), std::pair("readerFrom", u"Unknown"_s),
          std::pair("readerTo", u"Undisclosed recipients"_s)})
        EXPECT_EQ(mail->child<QLabel>(name).text(), text) << name;
    expectWords(*mail->window,
                {u"(no subject)"_s, u"Back"_s, u"From:"_s, u"To:"_s, u"Cc:"_s,
                 u"This message contains remote content."_s, u"1 tracking image blocked"_s,
                 u"Tracking pixels are never loaded, even when remote content is loaded."_s,
                 u"Load Remote Content"_s, u"Attachments:"_s, u"Save notes.txt"_s, u"notes.txt (4 bytes)"_s});
    mail->window->reader().followLink(link(u"https://evil.example/"_s, u"bank.example"_s));
    auto* const question = shown<QMessageBox>(u"linkAlert"_s);
    ASSERT_TRUE(question);
    expectWords(*question, {u"This link may be deceptive"_s, u"Open Anyway"_s, u"Cancel"_s});
    question->reject();
    model().setPath({u"gone"_s});
    settle();
    expectWords(*mail->window, {u"Couldn't Load Message"_s, u"This message is no longer available."_s});
}

TEST_F(QuotedWordsTest, StandInTheDialogsOfLabels)
{
    const MailLabel travel{u"T"_s, u"Travel"_s};
    begin();
    const QUuid account = mail->fixture.account().id;
    model().beginCreateLabel(account);
    expectWords(
        *shown<QDialog>(u"labelSheet"_s),
        {u"New Folder"_s, u"Name"_s, u"Use “/” to nest, e.g. Travel/2026."_s, u"Cancel"_s, u"Create"_s});
    model().beginCreateLabel(account, travel);
    settle();
    expectWords(*shown<QDialog>(u"labelSheet"_s), {u"New Folder in “Travel”"_s});
    model().beginRenameLabel(travel, account);
    settle();
    expectWords(*shown<QDialog>(u"labelSheet"_s), {u"Rename “Travel”"_s, u"Rename"_s, u"Cancel"_s});
    shown<QDialog>(u"labelSheet"_s)->reject();
    model().beginDeleteLabel(travel, account);
    const auto* const question = shown<QMessageBox>(u"labelDeletion"_s);
    expectWords(*question,
                {u"Delete Folder “Travel”?"_s, u"Delete"_s, u"Cancel"_s,
                 u"The folder and every message in it are deleted from the server. This can’t be undone."_s});
    begin({ModelFixture::googleAccount()});
    model().beginDeleteLabel(travel, mail->fixture.account().id);
    expectWords(
        *shown<QMessageBox>(u"labelDeletion"_s),
        {u"Delete Label “Travel”?"_s,
         u"The label is removed from its messages; the messages stay in All Mail. Labels nested inside it are kept."_s});
}

TEST_F(QuotedWordsTest, StandInTheAlertOfAFailure)
{
    begin();
    model().report(std::make_exception_ptr(MailError::unsupported(u"It broke."_s)));
    const auto* const alert = shown<QMessageBox>(u"errorAlert"_s);
    EXPECT_EQ(alert->text(), u"Something went wrong");
}

TEST_F(QuotedWordsTest, StandInAComposeWindow)
{
    begin({ModelFixture::imapAccount(), ModelFixture::googleAccount()});
    mail->fixture.defaults().set(DefaultsKey::composeRichText, true);
    model().newMessage({});
    auto* const window = shown<ComposeWindow>();
    ASSERT_TRUE(window);
    window->view().setShowsBcc(true);
    QFile file(folder.filePath(u"notes.txt"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("x") == 1);
    file.close();
    window->view().addFiles({QUrl::fromLocalFile(file.fileName())});
    ASSERT_TRUE(waitUntil([window] { return window->view().draft().attachments.size() == 1; }));
    settle();
    expectWords(*window, {u"New Message"_s,
                          u"From:"_s,
                          u"To:"_s,
                          u"Cc:"_s,
                          u"Bcc:"_s,
                          u"Subject:"_s,
                          u"Send"_s,
                          u"Send (Ctrl+Shift+D)"_s,
                          u"Attach"_s,
                          u"Attach Files (Ctrl+Shift+A)"_s,
                          u"Format"_s,
                          u"Plain Text"_s,
                          u"Rich Text"_s,
                          u"Rich text is sent as HTML with a plain-text copy"_s,
                          u"Bcc"_s,
                          u"Show Bcc field"_s,
                          u"Remove Attachment"_s,
                          u"Fonts"_s,
                          u"Show Fonts (Ctrl+T)"_s,
                          u"Smaller"_s,
                          u"Default Size"_s,
                          u"Default Size (100%)"_s,
                          u"Bigger"_s,
                          u"Colors"_s,
                          u"Show Colors"_s,
                          u"Bold"_s,
                          u"Bold (Ctrl+B)"_s,
                          u"Italic"_s,
                          u"Italic (Ctrl+I)"_s,
                          u"Underline"_s,
                          u"Underline (Ctrl+U)"_s,
                          u"Strikethrough"_s,
                          u"Align Left"_s,
                          u"Center"_s,
                          u"Align Right"_s,
                          u"Bulleted List"_s,
                          u"Numbered List"_s});
    window->view().addFiles({QUrl::fromLocalFile(folder.path())});
    auto* const refused = shown<QMessageBox>();
    ASSERT_TRUE(refused);
    expectWords(*refused, {u"Some Files Weren’t Attached"_s,
                           u"Couldn't attach %1. Only files can be attached, up to 26.2 MB in total."_s.arg(
                               folder.path().section(u'/', -1)),
                           u"OK"_s});
    refused->reject();
    settle();
    window->close();
    const auto* const question = shown<QMessageBox>();
    ASSERT_TRUE(question);
    expectWords(*question, {u"Do you want to save this message as a draft?"_s,
                            u"If you don't save, your changes will be lost."_s, u"Save"_s, u"Don't Save"_s,
                            u"Cancel"_s});
}

TEST_F(QuotedWordsTest, StandInTheFormOfAnAccount)
{
    begin();
    mail->window->openSetup();
    auto* const form = shown<IMAPSetupView>();
    ASSERT_TRUE(form);
    clickButton(*form, u"Server Settings"_s);
    settle();
    expectWords(
        *form,
        {u"Account Setup"_s, u"Add IMAP Account"_s, u"Name:"_s, u"Optional"_s, u"Email Address:"_s,
         u"Password:"_s,
         u"iCloud, Yahoo and Gmail need an app-specific password, created in your account's security settings."_s,
         u"Server Settings"_s, u"User Name:"_s, u"Incoming (IMAP):"_s, u"Outgoing (SMTP):"_s, u"Server"_s,
         u"Port"_s, u"Security"_s, u"SSL/TLS"_s, u"STARTTLS"_s, u"Cancel"_s, u"Sign In"_s});
    form->close();
    model().signInAgain(model().accounts().first(), [this] { mail->window->openSetup(); });
    settle();
    expectWords(*shown<IMAPSetupView>(), {u"Sign In Again"_s});
    shown<IMAPSetupView>()->close();
}

} // namespace
} // namespace Larkhaven
