#include "ComposeSupport.h"
#include "support/QtPrinters.h"
#include "views/compose/SuggestionList.h"

#include <QLabel>
#include <QTest>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class ComposeAppearanceTest : public ComposeTest, public testing::WithParamInterface<Look> {
protected:
    ComposeAppearanceTest()
        : ComposeTest({ModelFixture::imapAccount(), ModelFixture::googleAccount()})
    {
        Style::shared().setScheme(GetParam().scheme);
        Style::shared().setTextSize(GetParam().textSize);
        for (const QString& name : {u"Ada Lovelace"_s, u"Adam Großmann"_s, u"Grace Adams"_s})
            book->contacts.append({name.section(u' ', 0, 0),
                                   {},
                                   name.section(u' ', 1),
                                   {},
                                   {},
                                   {name.section(u' ', 0, 0).toLower() + u"@example.com"_s}});
    }

    ComposeWindow& openSample(bool richText)
    {
        ComposeDraft draft = this->draft();
        draft.to = u"Ada Lovelace <ada@example.com>, "_s;
        draft.subject = u"The quarterly journal, gyp and jig"_s;
        draft.isRichText = richText;
        draft.body = u"Good morning,\n\nthe wrold is round.\n\n-- \nMia"_s;
        draft.initialHTML =
            u"<div>Good <b>morning</b>, <i>see</i> <a href='https://a.example'>the "
            u"page</a>.</div><div><br></div>"
            "<ul><li>First point</li><li>Second point<ul><li>A nested one</li></ul></li></ul>"
            "<ol><li>One</li><li>Two</li></ol><div style='text-align:center'>In the middle</div>"
            "<div><span style='font-size:20px;color:#c42b3c'>Large and red</span>, a wrold of it.</div>"
            "<blockquote><div>What was said before,<br>on two lines.</div>"
            "<blockquote><div>And before that.</div></blockquote></blockquote>"_s;
        draft.attachments = {{QUuid::createUuid(),
                              u"A report with a name that is far too long for its chip.pdf"_s,
                              u"application/pdf"_s, QByteArray(15'000'000, 'x')},
                             {QUuid::createUuid(), u"pig.png"_s, u"image/png"_s, QByteArray(48'000, 'x')}};
        ComposeWindow& window = open(draft);
        window.resize(GetParam().size);
        return window;
    }

    static void expectWhole(const ComposeWindow& window)
    {
        for (const QLabel* const label : window.findChildren<QLabel*>()) {
            if (label->isVisible() && !label->text().isEmpty()) {
                EXPECT_GE(label->height(), label->fontMetrics().height()) << label->text().toStdString();
                EXPECT_GE(label->width(), label->sizeHint().width()) << label->text().toStdString();
            }
        }
    }
};

TEST_P(ComposeAppearanceTest, ShowsAPlainAndARichMessage)
{
    ComposeWindow& plain = openSample(false);
    expectWhole(plain);
    takeScreenshot(plain, u"compose-plain-"_s + nameOf(GetParam()));
    ComposeWindow& rich = openSample(true);
    expectWhole(rich);
    EXPECT_EQ(rich.size(), GetParam().size);
    EXPECT_GT(text(rich).height(), 2 * GetParam().textSize);
    takeScreenshot(rich, u"compose-rich-"_s + nameOf(GetParam()));
}

TEST_P(ComposeAppearanceTest, ShowsSuggestionsSheetsAndProgress)
{
    ComposeWindow& window = openSample(false);
    field(window, "to").line().setFocus();
    ASSERT_TRUE(waitUntil([this] { return contacts.status() == ContactsService::Status::ready; }));
    field(window, "to").line().end(false);
    QTest::keyClicks(&field(window, "to").line(), u"ad"_s);
    ASSERT_TRUE(field(window, "to").list().isVisible());
    takeScreenshot(window, u"compose-suggestions-"_s + nameOf(GetParam()));
    QTest::keyClick(&field(window, "to").line(), Qt::Key_Return);
    window.close();
    ASSERT_TRUE(waitUntil([&] { return alert(window, "saveSheet"); }));
    takeScreenshot(window, u"compose-sheet-"_s + nameOf(GetParam()));
    press(*alert(window, "saveSheet"), u"Cancel"_s);
    fixture.provider().hold(u"send"_s);
    window.view().send();
    // The bar moves without end.
    settle();
    grab(window).save(u"%1/compose-sending-%2.png"_s.arg(QStringLiteral(SCREENSHOTS), nameOf(GetParam())));
    fixture.provider().completeAll();
    settle();
}

constexpr QSize standard = ComposeWindow::defaultSize;

INSTANTIATE_TEST_SUITE_P(
    Looks, ComposeAppearanceTest,
    testing::Values(Look{Style::Scheme::light, 10, standard}, Look{Style::Scheme::light, 13, standard},
                    Look{Style::Scheme::light, 28, QSize(1000, 800)}, Look{Style::Scheme::dark, 13, standard},
                    Look{Style::Scheme::dark, 28, QSize(1000, 800)},
                    Look{Style::Scheme::light, 13, ComposeWindow::smallestSize},
                    Look{Style::Scheme::light, 28, QSize(720, 480)}),
    [](const auto& look) { return nameOf(look.param).replace(u'-', u'_').toStdString(); });

} // namespace
} // namespace Larkhaven
