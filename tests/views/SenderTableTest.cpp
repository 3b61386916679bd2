#include "format/MIMEParser.h"
#include "model/Writing.h"
#include "providers/SummaryFields.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/list/MessageTableModel.h"
#include "views/reader/SenderLine.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// The escapes of the table: \n, \t, \\ and \u{hexadecimal}.
QString unescaped(const QString& text)
{
    QString plain;
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QStringView rest = QStringView(text).sliced(index);
        if (rest.startsWith(u"\\n") || rest.startsWith(u"\\t") || rest.startsWith(u"\\\\")) {
            plain += rest[1] == u'n' ? u'\n' : rest[1] == u't' ? u'\t' : u'\\';
            ++index;
        } else if (rest.startsWith(u"\\u{")) {
            const qsizetype end = rest.indexOf(u'}');
            plain += QChar::fromUcs4(rest.sliced(3, end - 3).toUInt(nullptr, 16));
            index += end;
        } else {
            plain += text[index];
        }
    }
    return plain;
}

QString escaped(const QString& text)
{
    QString shown;
    for (const char32_t character : text.toUcs4()) {
        const bool isSeen = QChar::isPrint(character) && QChar::category(character) != QChar::Other_Format;
        shown += isSeen ? QString::fromUcs4(&character, 1) : u"\\u{%1}"_s.arg(uint(character), 0, 16);
    }
    return shown;
}

/// One line: the header fields, then what list, tooltip, reader and answer make of them. The reader's are the
/// names, the addresses behind them and the notice; the answer's the receivers and the notice.
struct Line {
    QString headers;
    QString list;
    QString toolTip;
    QString reader;
    QString reply;

    QString text() const { return QStringList{headers, list, toolTip, reader, reply}.join(u'\t'); }
};

QList<Line> readTable()
{
    QFile file(QStringLiteral(FIXTURES "/senders.txt"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QList<Line> lines;
    const QStringList texts = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    for (const QString& text : texts) {
        const QStringList columns = text.split(u'\t');
        lines.append({columns[0], columns.value(1), columns.value(2), columns.value(3), columns.value(4)});
    }
    return lines;
}

class SenderTable : public testing::Test {
protected:
    /// What the program makes of the headers.
    Line made(const QString& escapedHeaders)
    {
        const QByteArray raw = unescaped(escapedHeaders).replace(u"\n"_s, u"\r\n"_s).toUtf8() + "\r\n\r\nHi";
        const ParsedMessage message = MIMEParser::parse(raw);
        MessageSummary row = ModelFixture::row(m_fixture.account(), u"1"_s);
        row.from.reset();
        SummaryFields::setSender(row, message.headers.values(u"From"));
        const QModelIndex cell = listed(row);
        const ShownSender sender = ShownSender::read(message.headers);
        const ComposeDraft draft = Writing::reply({row.accountID, {}, u"mia@example.org"_s, {}, false},
                                                  message, {}, Writing::Recipients::sender);
        return {escapedHeaders, escaped(cell.data().toString()),
                escaped(cell.data(Qt::ToolTipRole).toString()),
                escaped(QStringList{sender.names.names.join(u", "_s), sender.addresses.names.join(u", "_s),
                                    sender.warning}
                            .join(u" | "_s)),
                escaped(QStringList{draft.to, draft.notices.join(u' ')}.join(u" | "_s))};
    }

private:
    QModelIndex listed(const MessageSummary& row)
    {
        m_fixture.provider().setListing(MailboxRef::system(Mailbox::inbox), {row});
        m_fixture.model().start(m_fixture.model().load(0, true));
        EXPECT_TRUE(waitUntil([this] { return !m_fixture.model().isLoading(); }));
        return m_table.index(0, static_cast<int>(MessageColumn::from));
    }

    ModelFixture m_fixture;
    MessageTableModel m_table{m_fixture.model()};
};

TEST_F(SenderTable, ShowsWhoSentIt)
{
    const QList<Line> table = readTable();
    ASSERT_GE(table.size(), 125);
    for (const Line& line : table) {
        const QString shown = made(line.headers).text();
        EXPECT_EQ(shown, line.text()) << shown.toStdString();
    }
}

} // namespace
} // namespace Larkhaven
