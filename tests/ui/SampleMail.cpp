#include "SampleMail.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

QList<MessageSummary> sampleRows(const Account& account)
{
    QList<MessageSummary> rows = ModelFixture::rows(account, 40);
    const QStringList senders{u"Ada Lovelace"_s, u"The Quarterly Journal of Engineering"_s, u"Grace"_s,
                              u"ليلى حداد"_s};
    const QStringList subjects{u"Minutes of the meeting"_s,
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

QByteArray sampleMessage()
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
           "--b\r\nContent-Type: image/png\r\nContent-Disposition: attachment; filename=pig.png\r\n\r\nx\r\n"
           "--b--\r\n";
}

void fillWithSamples(MailWindow& mail)
{
    FakeMailProvider& provider = mail.fixture.provider(0);
    provider.setLabels(
        {{u"w"_s, u"Work"_s}, {u"wp"_s, u"Work/Plans"_s}, {u"t"_s, u"Travel with a rather long name"_s}});
    provider.setCounts({{u"system:inbox"_s, 1234}, {u"label:wp"_s, 3}});
    provider.setRaw(u"2"_s, sampleMessage());
    mail.fill(sampleRows(mail.fixture.account(0)));
}

} // namespace Larkhaven
