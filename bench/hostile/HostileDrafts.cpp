#include "Hostile.h"
#include "app/platform/VCard.h"
#include "model/DraftGate.h"
#include "model/QuotedText.h"
#include "model/RecipientFields.h"
#include "model/SortField.h"
#include "safety/HTMLSanitizer.h"

// What of other people's texts enters a draft, and rows as they are sorted.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {

namespace {

std::vector<Made<QString>> texts()
{
    std::vector<Made<QString>> made{
        {u"marks on one letter"_s, [](qsizetype size) { return u'a' + QString(size - 1, QChar(0x301)); }}};
    for (const QString& piece : {u"a"_s,
                                 u"a "_s,
                                 u"\n"_s,
                                 u" "_s,
                                 u"> "_s,
                                 u">\n"_s,
                                 u"a\n"_s,
                                 u"\u0130"_s,
                                 u"\u0301"_s,
                                 u"a\u0301"_s,
                                 u"\u202e"_s,
                                 u"a\u05d0"_s,
                                 u"a\u0431"_s,
                                 u"\u05d0 "_s,
                                 u"\u6f22"_s,
                                 u"\u1100"_s,
                                 u"\U0001f468\u200d"_s,
                                 u"\U000e1234"_s,
                                 u"1\u05d0"_s,
                                 u"<a@b>, "_s,
                                 u"a@b,"_s,
                                 u"\""_s,
                                 u"("_s,
                                 u"\\"_s,
                                 u","_s,
                                 u"https://x.example/ "_s,
                                 u"[a] "_s})
        made.push_back(many(piece));
    made.push_back(many(QString(QChar(0xd800))));
    return made;
}

std::vector<Made<QString>> pages()
{
    std::vector<Made<QString>> made;
    for (const QString& piece : {u"<p>a</p>"_s,
                                 u"<b>a</b>"_s,
                                 u"<b>"_s,
                                 u"<td>"_s,
                                 u"<table><tr><td>a"_s,
                                 u"<ol><li>a"_s,
                                 u"<li>a</li>"_s,
                                 u"<br>"_s,
                                 u"<blockquote>a"_s,
                                 u"<a href=https://x.example/>a</a>"_s,
                                 u"<i style='color:red'>a</i>"_s,
                                 u"<img alt=a>"_s,
                                 u"<pre>a\n</pre>"_s,
                                 u"<style>a{color:red}</style>"_s,
                                 u"<details>"_s,
                                 u"&amp;"_s,
                                 u"&nbsp;"_s,
                                 u"a\u0301"_s,
                                 u"\u0130 "_s,
                                 u"a\u05d0"_s,
                                 u"<td colspan=9999>a</td>"_s,
                                 u"</p>"_s,
                                 u"<hr>"_s})
        made.push_back(many(piece));
    return made;
}

Made<QString> card(const QString& piece)
{
    const Made<QString> repeated = many(piece);
    return {repeated.name, [=](qsizetype size) {
                return u"BEGIN:VCARD\r\n"_s + repeated.make(size - 30) + u"\r\nEND:VCARD\r\n"_s;
            }};
}

ParsedMessage message(const QString& plain, const QString& html)
{
    ParsedMessage message;
    message.textBody = plain;
    message.htmlBody = html;
    return message;
}

} // namespace

} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven;
    using namespace Larkhaven::Bench;
    Families families;
    const std::vector<Made<QString>> plain = texts();
    const std::vector<Made<QString>> rich = pages();
    families.addText(
        u"DraftGate::text"_s, [](const QString& text) { return DraftGate::text(text, u"…"_s).text.size(); },
        plain);
    families.addText(
        u"DraftGate::pasted, line, effort"_s,
        [](const QString& text) {
            return DraftGate::pasted(text).size() +
                   DraftGate::line(text, DraftGate::longestSubject).text.size() +
                   (DraftGate::effort(text) > 0 ? 1 : 0);
        },
        plain);
    families.addText(
        u"DraftGate::html"_s, [](const QString& text) { return DraftGate::html(text, u"…"_s).text.size(); },
        rich);
    families.addText(
        u"RecipientFields::given"_s, [](const QString& text) { return RecipientFields().given(text).size(); },
        plain);
    families.addText(
        u"RecipientFields::resumed"_s,
        [](const QString& text) { return RecipientFields().resumed(text, text).size(); }, plain);
    families.addText(
        u"QuotedText::of, both texts"_s,
        [](const QString& text) { return QuotedText::of(message(text, text), {}, {}).text.size(); }, plain);
    families.addText(
        u"QuotedText::of, HTML alone"_s,
        [](const QString& text) { return QuotedText::of(message({}, text), {}, {}).text.size(); }, rich);
    families.addText(
        u"QuotedText::of, another text"_s,
        [](const QString& text) { return QuotedText::of(message(u"x y z"_s, text), {}, {}).text.size(); },
        rich);
    families.addText(
        u"compareTexts"_s,
        [](const QString& text) { return qsizetype{compareTexts(text, text + u'a') == 0 ? 1 : 0}; },
        {many(u"a"_s), many(u"\u0301"_s), many(u"\u0130"_s)});
    families.addText(u"VCard::parse"_s,
                     [](const QString& text) {
                         const std::optional<Contact> contact = VCard::parse(text);
                         return contact ? contact->emails.size() + contact->givenName.size() : 0;
                     },
                     {card(u"EMAIL:a@b\r\n"_s), card(u"N:a;b\r\n"_s), card(u"\r\n "_s), card(u";"_s),
                      card(u"\\,"_s), card(u"EMAIL;"_s), card(u"\""_s), card(u":"_s),
                      card(u"BEGIN:VCARD\r\n"_s), card(u"\u0130"_s)});
    return measure(argc, argv, families);
}
