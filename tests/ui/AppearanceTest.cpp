#include "UITestSupport.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"
#include "views/list/MessageTableView.h"
#include "views/main/ContentView.h"
#include "views/main/SidebarView.h"

#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class AppearanceTest : public testing::TestWithParam<Look> {
protected:
    AppearanceTest()
    {
        mail.fixture.provider(0).setLabels(
            {{u"w"_s, u"Work"_s}, {u"wp"_s, u"Work/Plans"_s}, {u"t"_s, u"Travel with a rather long name"_s}});
        mail.fixture.provider(0).setCounts({{u"system:inbox"_s, 1234}, {u"label:wp"_s, 3}});
        mail.fill(sampleRows());
        mail.fixture.provider(0).setRaw(u"2"_s, sampleMessage());
    }

    QList<MessageSummary> sampleRows()
    {
        QList<MessageSummary> rows = ModelFixture::rows(mail.fixture.account(0), 40);
        const QStringList senders{u"Ada Lovelace"_s, u"The Quarterly Journal of Engineering"_s, u"Grace"_s,
                                  u"Jürgen Großmann"_s};
        const QStringList subjects{
            u"Minutes of the meeting"_s,
            u"A subject that goes on for so long that nothing of its preview fits beside "
            "it, however wide the window may be made by whoever reads it"_s,
            u"Re: gyp, jig & query"_s, QString()};
        for (qsizetype index = 0; index < rows.size(); ++index) {
            rows[index].from = EmailAddress(senders[index % 4], u"a@example.com"_s);
            rows[index].subject = subjects[index % 4];
            rows[index].snippet = u"The preview of the message, which tells how it begins and goes on."_s;
            rows[index].isRead = index % 3 != 0;
            rows[index].isStarred = index % 5 == 1;
            rows[index].hasAttachments = index % 4 == 2;
        }
        return rows;
    }

    static QByteArray sampleMessage()
    {
        return "From: Ada Lovelace <ada@example.com>\r\nTo: Mia <mia@example.org>, Bob <bob@example.org>\r\n"
               "Cc: carl@example.org\r\nSubject: The quarterly journal, gyp and jig\r\n"
               "Date: Fri, 15 Mar 2024 11:00:00 +0000\r\nMIME-Version: 1.0\r\n"
               "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/html\r\n\r\n"
               "<h2>Good morning</h2><p>Some text with a <a href=\"https://a.example/\">link</a>.</p>"
               "<img src=\"https://img.example/a.png\" width=\"200\" height=\"80\">"
               "<img src=\"https://t.example/open.gif\" width=\"1\" height=\"1\">\r\n"
               "--b\r\nContent-Type: application/pdf\r\nContent-Disposition: attachment; "
               "filename=\"A report with a name that is far too long for its chip.pdf\"\r\n\r\nPDF\r\n"
               "--b\r\nContent-Type: image/png\r\nContent-Disposition: attachment; "
               "filename=pig.png\r\n\r\nx\r\n"
               "--b--\r\n";
    }

    MailWindow mail{{ModelFixture::imapAccount(), ModelFixture::googleAccount()}};
};

TEST_P(AppearanceTest, ShowsListAndMessageInFull)
{
    const Look look = GetParam();
    Style::shared().setScheme(look.scheme);
    Style::shared().setTextSize(look.textSize);
    mail.window->resize(look.size);
    mail.open();
    ASSERT_TRUE(waitUntil([this] { return !mail.model().counts(mail.fixture.account(0).id).isEmpty(); }));
    mail.model().report(std::make_exception_ptr(MailError::notSignedIn()), mail.fixture.account(1).id);
    mail.model().setSelection({u"2"_s});
    EXPECT_EQ(mail.window->size(), look.size);
    EXPECT_EQ(mail.table().horizontalScrollBar()->maximum(), 0);
    EXPECT_LE(mail.table().horizontalHeader()->length(), mail.table().viewport()->width());
    EXPECT_GE(mail.table().rowHeight(0), QFontMetrics(Style::shared().font(Style::Type::body)).height());
    takeScreenshot(*mail.window, u"list-"_s + nameOf(look));
    mail.read(u"2"_s);
    EXPECT_EQ(mail.window->size(), look.size);
    const auto labels = mail.window->reader().findChildren<QLabel*>();
    for (const QLabel* const label : labels) {
        if (label->isVisible() && !label->text().isEmpty()) {
            EXPECT_GE(label->height(), label->fontMetrics().height()) << label->text().toStdString();
        }
    }
    EXPECT_GT(mail.window->findChild<SecureMessageView*>()->height(), 5 * look.textSize);
    const QScrollArea& scroll = *mail.window->reader().findChild<QScrollArea*>();
    EXPECT_LE(scroll.widget()->width(), scroll.viewport()->width());
    takeScreenshot(*mail.window, u"reader-"_s + nameOf(look));
}

constexpr QSize standard{1180, 720};
constexpr QSize small{720, 480};

INSTANTIATE_TEST_SUITE_P(
    Looks, AppearanceTest,
    testing::Values(Look{Style::Scheme::light, 10, standard}, Look{Style::Scheme::light, 13, standard},
                    Look{Style::Scheme::light, 28, standard}, Look{Style::Scheme::dark, 13, standard},
                    Look{Style::Scheme::dark, 28, small}, Look{Style::Scheme::light, 13, small},
                    Look{Style::Scheme::dark, 10, small}),
    [](const auto& look) { return nameOf(look.param).replace(u'-', u'_').toStdString(); });

} // namespace
} // namespace Larkhaven
