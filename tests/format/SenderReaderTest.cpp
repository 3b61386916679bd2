#include "format/SenderReader.h"

#include "format/MIMEParser.h"
#include "format/RawAddresses.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Names = Sender::Names;

QString written(const EmailAddress& address)
{
    return address.name ? u"%1 <%2>"_s.arg(*address.name, address.address) : address.address;
}

/// The raw addresses of the value, "; " between them.
QString raw(const QString& value)
{
    QStringList texts;
    for (const EmailAddress& address : RawAddresses::read(value, 100))
        texts.append(written(address));
    return texts.join(u"; "_s);
}

/// Whom the From field of that value names.
QString read(const QString& value)
{
    const Sender sender = SenderReader::read({value}, {});
    QStringList texts;
    for (const EmailAddress& address : sender.addresses)
        texts.append(written(address));
    return texts.join(u"; "_s);
}

Names names(const QString& value)
{
    return SenderReader::read({value}, {}).names;
}

bool isClear(const QList<QString>& from, const QList<QString>& sender = {})
{
    return SenderReader::read(from, sender).isClear;
}

TEST(RawAddresses, ReadsTheFormsOfOneAddress)
{
    EXPECT_EQ(raw(u"ann@x.example"_s), u"ann@x.example");
    EXPECT_EQ(raw(u"Ann <ann@x.example>"_s), u"Ann <ann@x.example>");
    EXPECT_EQ(raw(u"\"Doe, Ann\" <ann@x.example>"_s), u"Doe, Ann <ann@x.example>");
    EXPECT_EQ(raw(u"\"Say \\\"hi\\\" \\\\\" <ann@x.example>"_s), u"Say \"hi\" \\ <ann@x.example>");
    EXPECT_EQ(raw(u"ann@x.example (Ann (at home))"_s), u"Ann (at home) <ann@x.example>");
    EXPECT_EQ(raw(u"<ann@x.example>"_s), u"ann@x.example");
    EXPECT_EQ(raw(u"Ann (Sales) <ann@x.example> (away)"_s), u"Ann (Sales) <ann@x.example>");
    EXPECT_EQ(raw(u"Ann Doe ann@x.example"_s), u"Ann Doe <ann@x.example>");
    EXPECT_EQ(raw(u"ann@x.example bob@x.example"_s), u"ann@x.example; bob@x.example");
    EXPECT_EQ(raw(u"@"_s), u"");
    EXPECT_EQ(raw(u"Ann <ann>"_s), u"Ann <ann>") << "as a machine writes to itself";
    EXPECT_EQ(raw(u"ann@[192.0.2.1]"_s), u"ann@[192.0.2.1]");
    EXPECT_EQ(raw(u"[List] Ann <ann@x.example>"_s), u"[List] Ann <ann@x.example>");
    EXPECT_EQ(raw(u"News: Ann <ann@x.example>"_s), u"News: Ann <ann@x.example>") << "a group has an end";
}

TEST(RawAddresses, ReadsObsoleteForms)
{
    EXPECT_EQ(raw(u"pete(his account)@silly.test(his host)"_s), u"his account his host <pete@silly.test>");
    EXPECT_EQ(raw(u"Mary < mary @ x . example >"_s), u"Mary <mary@x.example>");
    EXPECT_EQ(raw(u"<@a.example,@b.example:ann@x.example>"_s), u"ann@x.example");
    EXPECT_EQ(raw(u"Ann <a (b) nn@x.example>"_s), u"Ann <nn@x.example>");
    EXPECT_EQ(raw(u", ,ann@x.example,,"_s), u"ann@x.example");
    EXPECT_EQ(raw(u"\"a@b.example\"@x.example"_s), u"\"a@b.example\"@x.example");
}

TEST(RawAddresses, ReadsListsAndGroups)
{
    EXPECT_EQ(raw(u"a@x, Bob <b@x>; c@x"_s), u"a@x; Bob <b@x>; c@x");
    EXPECT_EQ(raw(u"Team: a@x, Bob <b@x>;, c@x"_s), u"a@x; Bob <b@x>; c@x");
    EXPECT_EQ(raw(u"undisclosed-recipients:;"_s), u"");
    EXPECT_EQ(raw(u"Doe, Ann <ann@x>"_s), u"Ann <ann@x>");
    EXPECT_EQ(raw(u"Ann (a, b) <ann@x>"_s), u"Ann (a, b) <ann@x>");
    EXPECT_EQ(raw(u"Ann <ann@x> <bob@x>"_s), u"Ann <ann@x>; bob@x") << "two brackets are two addresses";
    EXPECT_EQ(raw(u"Ann <ann@x> bob@x"_s), u"Ann <ann@x>; bob@x");
    EXPECT_EQ(RawAddresses::read(u"a@x,b@x,c@x", 2).size(), 2);
    EXPECT_EQ(RawAddresses::read(u"a@x,b@x,c@x", 0).size(), 0);
}

TEST(RawAddresses, CutsNoEncodedWord)
{
    EXPECT_EQ(raw(u"=?utf-8?q?Bob=22,_v@evil.example,_=22?= <bob@x>"_s),
              u"=?utf-8?q?Bob=22,_v@evil.example,_=22?= <bob@x>");
    EXPECT_EQ(raw(u"=?utf-8?q?=41=42?= <a@x>"_s), u"=?utf-8?q?=41=42?= <a@x>");
    EXPECT_EQ(raw(u"=?utf-8?b?QQ==?=,b@x"_s), u"b@x");
    EXPECT_EQ(raw(u"=?a?, b@x"_s), u"b@x");
}

TEST(RawAddresses, TakesWhatIsNeverClosedForText)
{
    EXPECT_EQ(raw(u"\"Ann <ann@x>"_s), u"\"Ann <ann@x>");
    EXPECT_EQ(raw(u"Ann ( <ann@x>"_s), u"Ann ( <ann@x>");
    EXPECT_EQ(raw(u"Ann [ <ann@x>"_s), u"Ann [ <ann@x>");
    EXPECT_EQ(raw(u"Ann <ann@x"_s), u"Ann <ann@x>");
    EXPECT_EQ(raw(u"Ann ann@x>"_s), u"Ann <ann@x>");
    EXPECT_EQ(raw(u"Ann \\"_s), u"");
}

TEST(RawAddresses, SeesWhatAReaderTakesForAnAddress)
{
    const auto seen = [](const QString& text) { return RawAddresses::seenIn(text).join(u' '); };
    EXPECT_EQ(seen(u"Write to Ceo@Bank.example!"_s), u"ceo@bank.example");
    EXPECT_EQ(seen(u"'ceo@bank.example', “a@b”"_s), u"ceo@bank.example a@b");
    EXPECT_EQ(seen(u"ceo＠bank．example"_s), u"ceo@bank.example");
    EXPECT_EQ(seen(u"ceo﹫bank。example"_s), u"ceo@bank.example");
    EXPECT_EQ(seen(u"ceo\u200b@\u202ebank.example"_s), u"ceo@bank.example");
    EXPECT_EQ(seen(u"a@b@c"_s), u"a@b b@c");
    EXPECT_EQ(seen(u"a@bank.example\nb@bank.example"_s), u"a@bank.example b@bank.example");
    EXPECT_EQ(seen(u"ceo @ bank.example"_s), u"@bank.example");
    EXPECT_EQ(seen(u"ceo@ bank.example"_s), u"@bank.example");
    EXPECT_EQ(seen(u"ceo @bank.example"_s), u"@bank.example");
    EXPECT_EQ(seen(u"ann@müller.example"_s), u"ann@xn--mller-kva.example");
    EXPECT_EQ(seen(u"Ann @ Home"_s), u"");
    EXPECT_EQ(seen(u"@ann and @bob"_s), u"");
    EXPECT_EQ(seen(u"a@"_s), u"");
    EXPECT_EQ(seen(u"@"_s), u"");
}

TEST(SenderReader, TrustsHonestNames)
{
    for (const QString& value :
         {u"Ann <ann@x.example>"_s, u"ann@x.example"_s, u"\"ann@x.example\" <ANN@x.example>"_s,
          u"'Ann@X.example' <ann@x.example>"_s, u"=?utf-8?q?J=C3=B6rg?= <j@x.example>"_s,
          u"Anna @ Shop.example <anna@mail.shop.example>"_s, u"Bob (@bob) <bob@x.example>"_s,
          u"=?utf-8?b?2YXbjOKAjNiu2YjYp9mH2YU=?= <p@x.example>"_s, u"Team: ann@x.example;"_s,
          u"Ann ❤\ufe0f <ann@x.example>"_s, u"ann@müller.example <ann@xn--mller-kva.example>"_s,
          u"pete(his account)@silly.test"_s, u"<@a.example,@b.example:ann@x.example>"_s,
          u"Doe, Ann <ann@x.example>"_s}) {
        const Sender sender = SenderReader::read({value}, {});
        EXPECT_TRUE(sender.isTrusted()) << value.toStdString();
        EXPECT_EQ(sender.addresses.size(), 1) << value.toStdString();
    }
}

TEST(SenderReader, ShowsTheRawNameWhereAnEncodedCommaCutsTheOtherReading)
{
    const QString value = u"=?utf-8?q?Doe=2C_Ann?= <ann@x.example>"_s;
    EXPECT_EQ(read(value), u"Doe, Ann <ann@x.example>");
    EXPECT_EQ(names(value), Names::honest);
    EXPECT_TRUE(isClear({value}));
}

TEST(SenderReader, ReadsTheRealAddressOfOneThatIsEncoded)
{
    const QString encoded = u"=?utf-8?b?Y2VvQGJhbmsuZXhhbXBsZQ==?="_s;
    const QString value = encoded + u"=?utf-8?q?=00?="_s + u"(ceo@bank.example)@evil.example"_s;
    EXPECT_EQ(names(value), Names::lookLikeAnotherAddress);
    const Sender sender = SenderReader::read({value}, {});
    ASSERT_EQ(sender.addresses.size(), 1);
    EXPECT_EQ(sender.addresses.first().address, encoded + u"=?utf-8?q?=00?=@evil.example"_s);
    EXPECT_EQ(sender.shown(), sender.addresses.first().address);
}

TEST(SenderReader, NoticesThatANameIsAnotherAddress)
{
    for (const QString& value :
         {u"=?utf-8?q?ceo=40bank=2Eexample=2C?= <service@evil.example>"_s,
          u"\"Promotions@shop.example\", <service@evil.example>"_s,
          u"ceo@bank.example <service@evil.example>"_s, u"Ceo (ceo@bank.example) <service@evil.example>"_s,
          u"\"ceo@bank.example via Mail\" <service@evil.example>"_s,
          u"=?utf-8?q?ceo=EF=BC=A0bank=2Eexample?= <service@evil.example>"_s,
          u"ceo @ bank.example <service@evil.example>"_s, u"service@evil.example (ceo@bank.example)"_s,
          u"\"ceo@bank.example\"@evil.example"_s, u"<ceo@bank.example@evil.example>"_s,
          u"ceo＠bank.example@evil.example"_s, u"ceo@bank.example: service@evil.example;"_s,
          u"Ceo <ceo@bank.example> <service@evil.example>"_s,
          u"Ceo <ceo@bank.example> service@evil.example"_s, u"service@evil.example ceo@bank.example"_s,
          u"=?utf-8?q?=3Cscript=3E?=@evil.example"_s,
          u"<=?utf-8?q?ceo=40bank=2Eexample=3E?= @evil.example>"_s,
          u"=?utf-8?q?ceo=E2=80=8B=40bank=2Eexample?= <service@evil.example>"_s})
        EXPECT_EQ(names(value), Names::lookLikeAnotherAddress) << value.toStdString();
}

TEST(SenderReader, NoticesHiddenCharactersInANameOrAnAddress)
{
    for (const QString& value :
         {u"=?utf-8?q?A=E2=80=AEnn?= <a@x.example>"_s, u"=?utf-8?q?=E2=80=8BAnn?= <a@x.example>"_s,
          u"=?utf-8?q?Ann=00?= <a@x.example>"_s, u"=?utf-8?q?Ann=0A?= <a@x.example>"_s,
          u"=?utf-8?q?=E3=85=A4?= <a@x.example>"_s, u"=?utf-8?q?=E2=A0=80?= <a@x.example>"_s,
          u"pay\u200dpal <a@x.example>"_s, u"a\u00ad@x.example"_s})
        EXPECT_EQ(names(value), Names::holdHiddenCharacters) << value.toStdString();
    EXPECT_EQ(names(u"=?utf-8?q?_?= <a@x.example>"_s), Names::honest) << "space is no name";
}

TEST(SenderReader, IsClearWithOneAddressInOneField)
{
    EXPECT_TRUE(isClear({u"ann@x"_s}));
    EXPECT_TRUE(isClear({u"Ann <ann@x>, ANN@x"_s})) << "the same one twice";
    EXPECT_FALSE(isClear({}));
    EXPECT_FALSE(isClear({u""_s}));
    EXPECT_FALSE(isClear({u"Ann"_s}));
    EXPECT_FALSE(isClear({u"ann@x"_s, u"ann@x"_s})) << "two fields";
    EXPECT_FALSE(isClear({u"ann@x, bob@x"_s}));
}

TEST(SenderReader, IsClearWhereOneStandsForSeveral)
{
    EXPECT_TRUE(isClear({u"ann@x, bob@x"_s}, {u"ann@x"_s}));
    EXPECT_FALSE(isClear({u"ann@x, bob@x"_s}, {u"ann@x, bob@x"_s}));
    EXPECT_FALSE(isClear({u"ann@x, bob@x"_s}, {u"Ann"_s}));
    EXPECT_FALSE(isClear({u"ann@x, bob@x"_s}, {u"ann@x"_s, u"bob@x"_s}));
    EXPECT_FALSE(isClear({}, {u"ann@x"_s}));
    EXPECT_FALSE(isClear({u"ann@x"_s, u"bob@x"_s}, {u"ann@x"_s}));
    EXPECT_EQ(SenderReader::read({u"Ann <ann@x>, bob@x, carl@x"_s}, {u"BOB@x"_s}).addressText(),
              u"bob@x, ann@x, carl@x")
        << "who sent it goes first";
    EXPECT_EQ(SenderReader::read({u"ann@x, bob@x"_s}, {u"carl@x"_s}).addressText(), u"ann@x, bob@x");
}

TEST(SenderReader, ReadsAllFieldsOfAMessage)
{
    const QByteArray message = "From: Ann <ann@x>\r\nfrom: ceo@bank.example <bob@x>\r\nSender: bob@x\r\n\r\n";
    const Sender sender = SenderReader::read(MIMEParser::splitHeaders(message).headers);
    EXPECT_EQ(sender.addressText(), u"ann@x, bob@x");
    EXPECT_EQ(sender.names, Names::lookLikeAnotherAddress);
    EXPECT_FALSE(sender.isClear);
    const QByteArray letter = "From: Ann <ann@x>, bob@x\r\nSENDER: bob@x\r\n\r\n";
    EXPECT_TRUE(SenderReader::read(MIMEParser::splitHeaders(letter).headers).isTrusted());
}

TEST(SenderReader, ReadsNoFieldBeyondItsLength)
{
    constexpr qsizetype most = SenderReader::longestField;
    const QString address = u" <a@x>"_s;
    const QString whole = QString(most - address.size(), u'n') + address;
    EXPECT_TRUE(isClear({whole}));
    EXPECT_EQ(SenderReader::read({whole}, {}).addressText(), u"a@x");
    EXPECT_FALSE(isClear({address + QString(most - address.size() + 1, u' ')})) << "one unit more";
    EXPECT_EQ(SenderReader::read({u' ' + whole}, {}).addressText(), u"");
}

TEST(SenderReader, ReadsSoManyAddressesAndNoMore)
{
    constexpr qsizetype most = SenderReader::mostAddresses;
    QStringList addresses;
    for (qsizetype number = 0; number < most; ++number)
        addresses.append(u"a%1@x"_s.arg(number));
    const QString whole = addresses.join(u',');
    EXPECT_EQ(SenderReader::read({whole}, {}).addresses.size(), most);
    EXPECT_TRUE(isClear({whole}, {u"a1@x"_s}));
    EXPECT_EQ(SenderReader::read({whole + u",b@x"_s}, {}).addresses.size(), most);
    EXPECT_FALSE(isClear({whole + u",b@x"_s}, {u"a1@x"_s}));
    EXPECT_EQ(SenderReader::read(QList<QString>(5, whole), {}).addresses.size(), most);
}

TEST(SenderReader, EndsSoonWhateverIsOpened)
{
    for (const QString& piece :
         {u"\""_s, u"("_s, u"<"_s, u"["_s, u"<\""_s, u"<("_s, u"\\"_s, u"@"_s, u"a@"_s, u",<"_s, u":;"_s,
          u"=?"_s, u"=?q?q?@?= "_s, u"()@"_s, u"a @"_s, u"\u0301"_s, u"\"@\""_s, u"<@:"_s, u" x@y"_s}) {
        const Sender sender =
            SenderReader::read({piece.repeated(SenderReader::longestField / piece.size())}, {});
        EXPECT_LE(sender.addresses.size(), SenderReader::mostAddresses) << piece.toStdString();
    }
}

TEST(SenderReader, JudgesStoredRowsByWhatIsKeptOfThem)
{
    MessageSummary row;
    row.from = EmailAddress(u"ceo@bank.example"_s, u"service@evil.example"_s);
    SenderReader::judgeStored(row);
    ASSERT_TRUE(row.sender);
    EXPECT_EQ(row.sender->names, Names::lookLikeAnotherAddress);
    EXPECT_EQ(row.sender->shown(), u"service@evil.example");
    MessageSummary honest;
    honest.from = EmailAddress(u"Ann"_s, u"ann@x"_s);
    SenderReader::judgeStored(honest);
    EXPECT_EQ(honest.sender, std::nullopt);
    MessageSummary known = row;
    known.sender = Sender{{*honest.from}};
    SenderReader::judgeStored(known);
    EXPECT_EQ(known.sender, (Sender{{*honest.from}})) << "what was judged stays";
}

TEST(SenderReader, GivesDomainsTheFormToBeComparedIn)
{
    EXPECT_EQ(SenderReader::domainOf(u"a@X.example."), u"x.example");
    EXPECT_EQ(SenderReader::domainOf(u"a@M\u00dcller.example"), u"xn--mller-kva.example");
    EXPECT_EQ(SenderReader::domainOf(u"\"a@x.example\"@y.example"), u"y.example");
    EXPECT_EQ(SenderReader::domainOf(u"x.example"), u"x.example");
    EXPECT_EQ(SenderReader::domainOf(u"a@"), u"");
}

TEST(SenderReader, KnowsWhoSentForSeveral)
{
    const auto sender = [](const QByteArray& headers) {
        return SenderReader::senderOfSeveral(MIMEParser::splitHeaders(headers + "\r\n\r\n").headers);
    };
    EXPECT_EQ(sender("From: ann@x, bob@x\r\nSender: Bob <bob@x>"), u"bob@x");
    EXPECT_EQ(sender("From: ann@x, bob@x\r\nSender: carl@x"), u"carl@x");
    EXPECT_EQ(sender("From: ann@x\r\nSender: bob@x"), u"") << "a list sends for one";
    EXPECT_EQ(sender("From: ann@x, bob@x"), u"");
    EXPECT_EQ(sender("From: ann@x, bob@x\r\nSender: ann@x, bob@x"), u"");
    EXPECT_EQ(sender("From: ann@x\r\nFrom: bob@x\r\nSender: ann@x"), u"");
}

} // namespace
} // namespace Larkhaven
