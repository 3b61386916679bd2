#include "safety/TextComparison.h"

#include "safety/HTMLSanitizer.h"
#include "safety/VisibleText.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// A plain text and an HTML text of one message.
struct Pair {
    const char* name;
    QString plain;
    QString html;
};

bool isOther(const QString& plain, const QString& html)
{
    const VisibleText::Shown shown =
        VisibleText::shownOf(HTMLSanitizer::sanitize(html, {}).document, TextComparison::longestText);
    return TextComparison::saysSomethingElse(plain, shown.text, shown.imageWords);
}

/// Words that say nothing, each another one.
QString filler(int count, int first = 0)
{
    QStringList words;
    for (int index = first; index < first + count; ++index)
        words.append(u"word%1"_s.arg(index));
    return words.join(u' ');
}

std::vector<Pair> honestPairs()
{
    return {
        {"one word", u"Thanks"_s, u"<p>Thanks</p>"_s},
        {"nothing but white space", u" \n\n"_s, u"<p>Hello there, this is new</p>"_s},
        {"nothing and images", u""_s, u"<img src=https://x.example/a.png alt='Big sale today only'>"_s},
        {"only marks", u"---- * ----"_s, u"<img src=cid:x>"_s},
        {"wrapped lines and case", u"DEAR MIA,\n\nwe write to you\nbecause of the boat."_s,
         u"<h1>Dear Mia,</h1><p>we write to you because of the boat.</p>"_s},
        {"stars and underlines of bold and italic", u"This is *very important* and _new_ for /you/."_s,
         u"<p>This is <b>very important</b> and <i>new</i> for <em>you</em>.</p>"_s},
        {"part of a word in bold", u"unbelievable offers"_s, u"<p>un<b>believ</b>able offers</p>"_s},
        {"a URL behind the text of a link", u"See our new shop <https://shop.example/a?b=c> for more."_s,
         u"<p>See <a href='https://shop.example/a?b=c'>our new shop</a> for more.</p>"_s},
        {"a URL in round brackets", u"See our shop ( https://shop.example/a ) now (https://x.example)."_s,
         u"<p>See <a href='https://shop.example/a'>our shop</a> now.</p>"_s},
        {"markdown links", u"See [our shop](https://shop.example/a_b) now."_s,
         u"<p>See <a href='https://shop.example/a_b'>our shop</a> now.</p>"_s},
        {"a long URL over two lines",
         u"Click "
         u"here\n<https://shop.example/"
         u"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\nbbbbbbb/cc> "
         "and buy."_s,
         u"<p><a href='https://shop.example/a'>Click here</a> and buy.</p>"_s},
        {"numbers of a list of links",
         u"See our shop [1] and our news [2].\n\nLinks:\n------\n[1] https://shop.example/\n[2] https://news.example/"_s,
         u"<p>See <a href=https://shop.example/>our shop</a> and <a href=https://news.example/>our news</a>.</p>"_s},
        {"a list of links with points", u"Shop[1]\n\nReferences\n\n   1. https://shop.example/\n"_s,
         u"<a href=https://shop.example/>Shop</a>"_s},
        {"a host as the text of a link", u"Yours, Jo\nhttps://www.shop.example/"_s,
         u"<p>Yours, Jo<br><a href=https://www.shop.example/>shop.example</a></p>"_s},
        {"an address and its mailto link", u"Write to jo@shop.example<mailto:jo@shop.example>"_s,
         u"<p>Write to <a href=mailto:jo@shop.example>jo@shop.example</a></p>"_s},
        {"a telephone link", u"Call +49 30 1234<tel:+49301234> today"_s,
         u"<p>Call <a href='tel:+49301234'>+49 30 1234</a> today</p>"_s},
        {"an image that was pasted", u"Hi,\n[image: image.png]\nBest"_s,
         u"<div>Hi,<br><img src=cid:a@b alt='image.png'><br>Best</div>"_s},
        {"an image that has a name", u"Hi,\n[Bild: Unser Logo]\nBest"_s,
         u"<div>Hi,<br><img src=https://x.example/a.png alt='Unser Logo'><br>Best</div>"_s},
        {"an image by its identifier", u"Hi,\n[cid:image001.png@01D9A0B1.C2D3E4F0]\nBest"_s,
         u"<div>Hi,<br><img src='cid:image001.png@01D9A0B1.C2D3E4F0'><br>Best</div>"_s},
        {"an image as a browser in text has it", u"[Acme] Welcome to the club"_s,
         u"<img src=https://x.example/a.png alt=Acme><p>Welcome to the club</p>"_s},
        {"what is quoted",
         u"Yes.\n\nOn Monday, Mia wrote:\n> Shall we have lunch?\n> > Where and when do you want?"_s,
         u"<div>Yes.</div><div>On Monday, Mia wrote:<blockquote>Shall we have lunch?<blockquote>Where and "
         u"when do "
         "you want?</blockquote></blockquote></div>"_s},
        {"a signature", u"See you.\n\n-- \nJo Doe\nAcme"_s, u"<p>See you.</p><p>--<br>Jo Doe<br>Acme</p>"_s},
        {"bullets", u"* apples\n* pears\n- plums"_s, u"<ul><li>apples<li>pears</ul><ul><li>plums</ul>"_s},
        {"numbers of a list", u"1. apples\n2. pears and plums"_s,
         u"<ol><li>apples<li>pears and plums</ol>"_s},
        {"a table with bars", u"| Item | Price |\n|------|-------|\n| Boat | 5 |\n| Oar | 2 |"_s,
         u"<table><tr><th>Item<th>Price<tr><td>Boat<td>5<tr><td>Oar<td>2</table>"_s},
        {"cells of a table column by column",
         filler(300) + u" A rowing boat Two oars of ash Two hundred euro Only fifty euro"_s,
         u"<p>"_s + filler(300) +
             u"</p><table><tr><td>A rowing boat<td>Two hundred euro<tr><td>Two oars of ash<td>Only fifty euro</table>"_s},
        {"soft hyphens", u"Donaudampfschifffahrt ahead"_s,
         u"<p>Donau&shy;dampf&#173;schiff&shy;fahrt ahead</p>"_s},
        {"filler of a preview", u"Our news\n\nThe boat is here"_s,
         u"<div style='display:none'>The boat is here at last, read all about "
         u"it</div><div>&#847;&zwnj;&nbsp;&#8203;"
         "&#847;&zwnj;&nbsp;&#65279;</div><h1>Our news</h1><p>The boat is here</p>"_s},
        {"references", u"Jörg & Søn’s “best” – 5 € … ½"_s,
         u"<p>J&ouml;rg &amp; S&oslash;n&rsquo;s &ldquo;best&rdquo; &ndash; 5 &euro; &hellip; &frac12;</p>"_s},
        {"composed and decomposed letters", u"Cafe\u0301 und Mu\u0308sli"_s, u"<p>Café und Müsli</p>"_s},
        {"ligatures, sharp s and wide letters", u"office STRASSE ABC"_s, u"<p>oﬃce Straße ＡＢＣ</p>"_s},
        {"hyphens and quotation marks of other kinds", u"don't - e-mail \"us\""_s,
         u"<p>don’t — e‑mail “us”</p>"_s},
        {"Chinese that is broken elsewhere", u"我们明天\n一起吃午饭吗？请看\nhttps://x.example/我们"_s,
         u"<p>我们明天一起吃午饭吗？请看 <a href=https://x.example/>我们</a></p>"_s},
        {"Japanese that is broken elsewhere", u"明日、一緒にラン\nチを食べませんか。"_s,
         u"<p>明日、一緒にランチを食べませんか。</p>"_s},
        {"Thai", u"พรุ่งนี้กินข้าว\nกันไหม"_s, u"<p>พรุ่งนี้กินข้าวกันไหม</p>"_s},
        {"Hindi", u"क्या हम कल\nखाना खाएँ?"_s, u"<p>क्या हम कल खाना खाएँ?</p>"_s},
        {"Arabic with and without its points", u"هل نتناول الغداء غدا"_s, u"<p>هَل نَتَناول الغداء غدًا</p>"_s},
        {"white text on a coloured cell", u"Buy now and save"_s,
         u"<table><tr><td bgcolor='#1a73e8'><a href=https://x.example style='color:#ffffff'>Buy "
         u"now</a></td></tr></table>"
         "<div style='background-color:#222'><p style='color:#fff'>and save</p></div>"_s},
        {"a text for telephones", u"Our news"_s,
         u"<style>@media (max-width:480px){.desktop{display:none}}</style><p class=desktop>Our news</p>"
         "<p style='display:none;mso-hide:all;max-height:0;overflow:hidden'>Our small news</p>"_s},
        {"one link more in a long text", filler(200) + u" unsubscribe here"_s,
         u"<p>"_s + filler(200) + u"</p>"_s},
        {"four words more in a long text", filler(100) + u" never seen it all"_s + filler(100, 100),
         u"<p>"_s + filler(100) + u" "_s + filler(100, 100) + u"</p>"_s},
        {"a very long text", filler(40'000), u"<p>"_s + filler(40'000) + u"</p>"_s},
    };
}

TEST(TextComparison, TakesHonestTextsForTheSame)
{
    for (const Pair& pair : honestPairs())
        EXPECT_FALSE(isOther(pair.plain, pair.html)) << pair.name;
}

/// The page on which the words are there and aren't seen, in each way of hiding them.
std::vector<std::pair<QString, QString>> hidingPages()
{
    const QString words = u"I agree to pay 5000 euro"_s;
    const QString lunch = u"<p>Shall we have lunch?</p>"_s;
    std::vector<std::pair<QString, QString>> pages;
    for (const QString& style : {u"display:none"_s,
                                 u"visibility:hidden"_s,
                                 u"opacity:0"_s,
                                 u"opacity:0.02"_s,
                                 u"filter:opacity(0)"_s,
                                 u"font-size:0"_s,
                                 u"font-size:1px"_s,
                                 u"font:0/0 a"_s,
                                 u"color:#fff"_s,
                                 u"color:white"_s,
                                 u"color:transparent"_s,
                                 u"color:rgba(0,0,0,0)"_s,
                                 u"color:rgb(254,254,254)"_s,
                                 u"color:hsl(0 0% 99%)"_s,
                                 u"background:#000;color:#000"_s,
                                 u"background:navy;color:#000080"_s,
                                 u"background:linear-gradient(#fff,#fff);color:#fff"_s,
                                 u"max-height:0;overflow:hidden"_s,
                                 u"height:1px;width:1px;overflow:hidden"_s,
                                 u"line-height:0;overflow:hidden"_s,
                                 u"text-indent:-9999px"_s,
                                 u"margin-left:-9999px"_s,
                                 u"position:relative;left:-9999px"_s,
                                 u"transform:scale(0)"_s,
                                 u"transform:translateX(-9999px)"_s,
                                 u"clip-path:inset(100%)"_s,
                                 u"zoom:0.01"_s,
                                 u"-webkit-text-fill-color:#fff"_s,
                                 u"content-visibility:hidden"_s}) {
        pages.emplace_back(style, u"<div style='"_s + style + u"'>"_s + words + u"</div>"_s + lunch);
        pages.emplace_back(u"by a rule: "_s + style, u"<style>div.x{"_s + style +
                                                         u"}</style><div class=x><b>"_s + words +
                                                         u"</b></div>"_s + lunch);
    }
    pages.emplace_back(u"font color"_s, u"<font color=white>"_s + words + u"</font>"_s + lunch);
    pages.emplace_back(u"bgcolor"_s,
                       u"<table bgcolor=black><tr><td style='color:#000'>"_s + words + u"</table>"_s + lunch);
    pages.emplace_back(u"details"_s, u"<details>"_s + words + u"<summary></summary></details>"_s + lunch);
    pages.emplace_back(u"comment"_s, u"<!-- "_s + words + u" -->"_s + lunch);
    pages.emplace_back(u"title"_s, u"<title>"_s + words + u"</title>"_s + lunch);
    pages.emplace_back(u"words of an image"_s,
                       u"<img src=https://x.example/a.png alt='"_s + words + u"'>"_s + lunch);
    pages.emplace_back(u"title of an element"_s, u"<p title='"_s + words + u"'></p>"_s + lunch);
    pages.emplace_back(u"within one another"_s, u"<div style='font-size:0'><p><b style='color:red'>"_s +
                                                    words + u"</b></p></div>"_s + lunch);
    pages.emplace_back(u"style sheet behind it"_s,
                       u"<p class=y>"_s + words + u"</p>"_s + lunch + u"<style>p.y{display:none}</style>"_s);
    return pages;
}

TEST(TextComparison, NoticesEachKindOfHiding)
{
    const QString words = u"I agree to pay 5000 euro"_s;
    for (const auto& [name, page] : hidingPages()) {
        EXPECT_TRUE(isOther(words, page)) << name.toStdString();
        EXPECT_TRUE(isOther(words + u"\n\nShall we have lunch?"_s, page)) << name.toStdString();
        EXPECT_FALSE(isOther(u"Shall we have lunch?"_s, page)) << name.toStdString();
        const QString around = u"<p>"_s + filler(500) + u"</p>"_s;
        EXPECT_TRUE(isOther(words + u" Shall we have lunch? "_s + filler(500), page + around))
            << name.toStdString();
    }
}

TEST(TextComparison, NoticesAnotherText)
{
    const std::vector<Pair> pairs{
        {"another answer", u"I agree to pay 5000 euro"_s, u"<p>Shall we have lunch?</p>"_s},
        {"one word", u"Yes"_s, u"<p>No</p>"_s},
        {"two words", u"Yes, please"_s, u"<p>No, please</p>"_s},
        {"another sum in a short text", u"I pay you 5000 euro"_s, u"<p>I pay you 5 euro</p>"_s},
        {"the other way round", u"Mia pays Jo and Jo owns it"_s, u"<p>Jo pays Mia and Mia owns it</p>"_s},
        {"nothing on screen", u"I agree to pay 5000 euro"_s, u""_s},
        {"an image alone on screen", u"I agree to pay 5000 euro"_s, u"<img src=https://x.example/a.png>"_s},
        {"a part of what was on screen", u"I agree to pay"_s,
         u"<p>I agree to pay only if you first give me everything that I have asked you for.</p>"_s},
        {"five words in a row in a long text", filler(500) + u" never seen this at all "_s + filler(500, 500),
         u"<p>"_s + filler(500) + u" "_s + filler(500, 500) + u"</p>"_s},
        {"five words at the end", filler(500) + u" never seen this at all"_s,
         u"<p>"_s + filler(500) + u"</p>"_s},
        {"known words in another row", filler(500) + u" word400 word30 word20 word310 word50"_s,
         u"<p>"_s + filler(500) + u"</p>"_s},
        {"words between URLs", filler(300) + u" I https://x.example agree https://x.example to pay you"_s,
         u"<p>"_s + filler(300) + u"</p>"_s},
        {"words glued to a URL by marks of China", filler(300) + u" https://x.example/我同意付款五千"_s,
         u"<p>"_s + filler(300) + u"</p>"_s},
        {"lines below a URL", filler(300) + u" <https://x.example/\nI\nagree\nto\npay\nyou>"_s,
         u"<p>"_s + filler(300) + u"</p>"_s},
        {"words of images", filler(300) + u" [image: I agree] [image: to pay] [image: 5000 euro]"_s,
         u"<p>"_s + filler(300) +
             u"</p><img src=cid:x alt='I agree'><img alt='to pay' src=https://x.example/1.png>"
             "<img src=https://x.example/1.png alt='5000 euro'><img src=https://x.example/1.png alt='I agree'>"_s},
        {"brackets without an image", u"Shall we have lunch? [image: I agree]"_s,
         u"<p>Shall we have lunch?</p>"_s},
        {"numbers that name no link", u"I pay [500] euro for it"_s, u"<p>I pay [5] euro for it</p>"_s},
        {"words above a list of links", u"Agreed, I pay\n[1] https://x.example/"_s, u"<p>See [1]</p>"_s},
        {"letters of another script", u"Ѕhall wе hаvе lunсh todау"_s, u"<p>Shall we have lunch today</p>"_s},
        {"invisible characters within words", u"I agree to pay you 5000 euro"_s,
         u"<p>Ia&#8203;gree topay youfive</p>"_s},
        {"Chinese", u"我同意支付五千欧元"_s, u"<p>我们明天一起吃午饭吗？</p>"_s},
        {"Chinese in a long text", u"我们明天一起吃午饭吗？"_s.repeated(100) + u"我同意付款五千"_s,
         u"<p>"_s + u"我们明天一起吃午饭吗？"_s.repeated(100) + u"</p>"_s},
        {"Japanese in a long text",
         u"明日、一緒にランチを食べませんか。"_s.repeated(50) + u"五千ユーロの支払いに同意します"_s,
         u"<p>"_s + u"明日、一緒にランチを食べませんか。"_s.repeated(50) + u"</p>"_s},
        {"Thai in a long text", u"พรุ่งนี้กินข้าวกันไหม"_s.repeated(50) + u"ฉันตกลงจ่ายห้าพันยูโรให้คุณ"_s,
         u"<p>"_s + u"พรุ่งนี้กินข้าวกันไหม"_s.repeated(50) + u"</p>"_s},
        {"Russian", u"Я согласен заплатить пять тысяч"_s, u"<p>Пойдём завтра вместе на обед?</p>"_s},
        {"vowels of Hindi", u"मील मील मील"_s, u"<p>माला माला माला</p>"_s},
        {"a tenth and more is missing", filler(80), u"<p>"_s + filler(100) + u"</p>"_s},
        {"a text that a program without HTML shows", u"This message needs a program that shows HTML."_s,
         u"<p>Our news of the week are here for you</p>"_s},
    };
    for (const Pair& pair : pairs)
        EXPECT_TRUE(isOther(pair.plain, pair.html)) << pair.name;
}

TEST(TextComparison, CountsNineTenthsOfTheRunsOfThreeWords)
{
    // 100 runs; each word at the end takes one away.
    const QString whole = filler(102);
    EXPECT_FALSE(TextComparison::saysSomethingElse(filler(92), whole));
    EXPECT_TRUE(TextComparison::saysSomethingElse(filler(91), whole));
    // 50 runs, five of them with a word that is there once more.
    EXPECT_FALSE(TextComparison::saysSomethingElse(filler(48) + u" a b c d"_s, filler(48) + u" e f g"_s));
    EXPECT_TRUE(TextComparison::saysSomethingElse(filler(30) + u" a b c d"_s, filler(30) + u" e f g"_s));
    // As often as it is there: the same run a hundred times isn't once.
    EXPECT_TRUE(TextComparison::saysSomethingElse(u"a b c"_s, u"a b c "_s.repeated(100)));
    EXPECT_TRUE(TextComparison::saysSomethingElse(u"a b c "_s.repeated(100), u"a b c"_s));
}

TEST(TextComparison, CountsFiveUnseenWordsInARow)
{
    const QString before = filler(300);
    const QString behind = u" "_s + filler(300, 300);
    EXPECT_FALSE(TextComparison::saysSomethingElse(before + u" a b c d"_s + behind, before + behind));
    EXPECT_TRUE(TextComparison::saysSomethingElse(before + u" a b c d e"_s + behind, before + behind));
    EXPECT_FALSE(TextComparison::saysSomethingElse(before + behind, before + u" a b c d e"_s + behind))
        << "what the plain text lacks";
}

TEST(TextComparison, TakesTextsBeyondItsBoundForOthers)
{
    const QString longest = u"word "_s.repeated(TextComparison::longestText / 5);
    ASSERT_EQ(longest.size(), TextComparison::longestText);
    EXPECT_FALSE(TextComparison::saysSomethingElse(longest, longest));
    EXPECT_TRUE(TextComparison::saysSomethingElse(longest + u'w', longest));
    EXPECT_TRUE(TextComparison::saysSomethingElse(longest, longest + u'w'));
}

TEST(TextComparison, TakesTextsForOthersThatGrowBeyondItsBound)
{
    // One character of Arabic that stands for eighteen.
    const auto grown = [](qsizetype size) { return QString(size, QChar(0xfdfa)); };
    constexpr qsizetype most = TextComparison::longestText / 18;
    EXPECT_FALSE(TextComparison::saysSomethingElse(grown(most / 2), grown(most / 2)));
    EXPECT_TRUE(TextComparison::saysSomethingElse(grown(most * 2), grown(most * 2)));
}

TEST(TextComparison, EndsOnHostileTexts)
{
    for (const QString& part : {u"["_s,
                                u"[a"_s,
                                u"[]"_s,
                                u"<"_s,
                                u"<http://"_s,
                                u"<http://a\n"_s,
                                u"http://a "_s,
                                u"[1] http://a\n"_s,
                                u"a.b "_s,
                                u"a"_s,
                                u" "_s,
                                u"\n"_s,
                                u"Links:\n"_s,
                                u"\u0327\u0301"_s,
                                u"\u0301\u0327"_s,
                                QString(QChar(0xd800)),
                                u"\u200b"_s,
                                u"我"_s,
                                u"www."_s,
                                u"----\n"_s,
                                u"\u0001\u0002"_s}) {
        const QString text = part.repeated(TextComparison::longestText / 10 / part.size());
        EXPECT_FALSE(TextComparison::saysSomethingElse(text, text)) << part.toStdString();
    }
}

} // namespace
} // namespace Larkhaven
