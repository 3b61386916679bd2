#include "Gallery.h"
#include "support/QtPrinters.h"
#include "views/style/AlertText.h"
#include "views/style/PlainAlert.h"

#include <QLabel>
#include <QPointer>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Places = QList<std::pair<qsizetype, qsizetype>>;

TEST(AlertText, MarksTheHostsThatItIsAbout)
{
    const QStringList known{u"imap.example.org"_s, u"Mail-1.example.org"_s, u"10.0.0.1"_s, QString()};
    const auto hosts = [&](const QString& line) { return AlertText::hosts(line, known); };
    EXPECT_EQ(hosts(u"imap.example.org doesn’t speak SSL/TLS on port 143."_s), (Places{{0, 16}}));
    EXPECT_EQ(hosts(u"Can’t reach mail-1.example.org."_s), (Places{{12, 18}}));
    EXPECT_EQ(hosts(u"“10.0.0.1”, (IMAP.example.org)..."_s), (Places{{1, 8}, {13, 16}}));
    // What is no host, or another one.
    EXPECT_EQ(hosts(u"It needs TLS 1.2 and 20.5 MB, e.g. now, of report.pdf."_s), Places());
    EXPECT_EQ(hosts(u"ada@imap.example.org imap.example.org@x imap.example.org.evil"_s), Places());
    EXPECT_EQ(hosts(u"x-imap.example.org imap.example.org-x _10.0.0.1 110.0.0.1 ..."_s), Places());
    EXPECT_EQ(hosts(QString()), Places());
    EXPECT_EQ(AlertText::hosts(u"imap.example.org"_s, {}), Places());
}

TEST(AlertText, MarksNoHostInAURLThatIsCutOffBeforeItsPath)
{
    for (const QString& url :
         {u"https://:bank.example%20…"_s, u"https://bank.example:x…"_s, u"https://bank.exa…"_s})
        EXPECT_EQ(AlertText::hosts(url, {u"bank.example"_s}).size(), 0) << url.toStdString();
    EXPECT_EQ(AlertText::hosts(u"https://bank.example/a…"_s, {}).size(), 1);
}

TEST(AlertText, MarksTheHostOfAURLAlone)
{
    const QStringList known{u"bank.com"_s, u"bank.example"_s};
    const auto hosts = [&](const QString& line) { return AlertText::hosts(line, known); };
    EXPECT_EQ(hosts(u"https://evil.example/see/bank.example/x.html"_s), (Places{{8, 12}}));
    EXPECT_EQ(hosts(u"https://evil.example"_s), (Places{{8, 12}}));
    EXPECT_EQ(hosts(u"https://www.bank.com@evil.example/x@y"_s), (Places{{21, 12}}));
    EXPECT_EQ(hosts(u"https://www.bank.com:x@evil.example"_s), (Places{{23, 12}}));
    EXPECT_EQ(hosts(u"http://evil.example:8080?bank.com"_s), (Places{{7, 12}}));
    EXPECT_EQ(hosts(u"http://[fd00::1]:80/bank.com"_s), (Places{{7, 9}}));
}

/// A step that looked at the rest of the line for each word would not end.
TEST(AlertText, LooksAtALineOnce)
{
    const QString line = u"1.1."_s.repeated(2'000'000);
    EXPECT_EQ(AlertText::hosts(line, {u"1.1.1.1"_s}), Places());
    EXPECT_EQ(AlertText::hosts(u"1.1 "_s.repeated(1'000'000), {u"1.1"_s}).size(), 1'000'000);
}

class AlertLooksTest : public testing::Test {
protected:
    AlertLooksTest()
    {
        Style::shared().setTextSize(Style::standardTextSize);
        Style::shared().applyToApplication();
        show(window);
    }
    ~AlertLooksTest() override { Style::shared().setTextSize(Style::standardTextSize); }

    QMessageBox& open(const QString& text, const QStringList& hosts = {})
    {
        alert = makePlainAlert(u"A title that says what went wrong"_s, text, QMessageBox::Ok, &window, hosts);
        alert->open();
        settle();
        return *alert;
    }
    AlertText& shown() const { return *alert->findChild<AlertText*>(); }

    QWidget window;
    QPointer<QMessageBox> alert;
};

TEST_F(AlertLooksTest, ItsTextIs420WideWithASymbolOf24AndNoTitleOfItsOwn)
{
    open(u"A text that is long enough to be broken, because it tells of what has happened, of what can be "
         u"done "
         "about it, and of what becomes of everything if nothing is."_s);
    EXPECT_EQ(shown().width(), 420);
    EXPECT_EQ(alert->windowTitle(), QString());
    const QPixmap symbol = alert->iconPixmap();
    EXPECT_EQ(symbol.deviceIndependentSize(), QSizeF(24, 24));
    const QImage image = symbol.toImage();
    int ink = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            ink += image.pixelColor(x, y).alpha() > 250 &&
                   image.pixelColor(x, y).rgb() == Style::shared().colors().warningText.rgb();
    }
    EXPECT_GT(ink, 20);
    // It follows the text, and the box with it.
    const int before = alert->width();
    Style::shared().setTextSize(20);
    settle();
    EXPECT_EQ(shown().width(), 646);
    EXPECT_EQ(shown().height(), shown().sizeHint().height());
    EXPECT_GT(alert->width(), before + 200);
    EXPECT_TRUE(alert->rect().contains(QRect(shown().mapTo(alert.data(), QPoint(0, 0)), shown().size())));
}

TEST_F(AlertLooksTest, AHostStaysOnOneLineWhereItFits)
{
    const QString host = u"imap-server-one.a-long-name.mail.example.org"_s;
    open(u"Nobody answers at the moment under the name "_s + host + u". Try again later."_s, {host});
    const QStringList rows = shown().rows();
    EXPECT_GT(rows.size(), 1);
    int whole = 0;
    for (const QString& row : rows)
        whole += row.contains(host);
    EXPECT_EQ(whole, 1) << rows.join(u'|').toStdString();
    // What others read of it has nothing in it that isn't seen.
    EXPECT_TRUE(alert->informativeText().contains(host));
    EXPECT_TRUE(shown().text().contains(host));
}

TEST_F(AlertLooksTest, AURLStandsInABlockOfItsOwnUnbrokenWhereItFits)
{
    const QString url = u"https://bank.example.evil-site.example/log-in?id=1"_s;
    open(u"It leads elsewhere than it says.\n\n"_s + url);
    EXPECT_EQ(shown().rows(), (QStringList{u"It leads elsewhere than it says."_s, url}));
    ASSERT_TRUE(waitUntilDrawn(*alert));
    const Style::Colors& colors = Style::shared().colors();
    EXPECT_EQ(pixel(shown(), {4, shown().height() - 20}), colors.surface);
    EXPECT_EQ(pixel(shown(), {shown().width() - 4, shown().height() - 20}), colors.surface);
    EXPECT_EQ(pixel(shown(), {shown().width() - 4, 4}), colors.window);
    // One that doesn't fit is broken at its edge, and all of it is there.
    setPlainText(*alert, u"https://a.example/"_s + QString(200, u'x'));
    settle();
    EXPECT_GT(shown().rows().size(), 2);
    EXPECT_EQ(shown().rows().join(QString()), u"https://a.example/"_s + QString(200, u'x'));
    EXPECT_EQ(shown().height(), shown().sizeHint().height());
}

TEST_F(AlertLooksTest, TheSafeButtonIsTheDefaultThroughEachChange)
{
    alert = makePlainAlert(u"A title"_s, u"A text"_s, QMessageBox::Cancel, &window);
    QPushButton* const risky = alert->addButton(u"Open Anyway"_s, QMessageBox::AcceptRole);
    alert->setDefaultButton(QMessageBox::Cancel);
    const auto* const safe = qobject_cast<QPushButton*>(alert->button(QMessageBox::Cancel));
    alert->open();
    EXPECT_TRUE(waitUntil([safe] { return safe->hasFocus(); }));
    EXPECT_TRUE(safe->isDefault());
    for (const int size : {10, 28, 13}) {
        Style::shared().setTextSize(size);
        settle();
        EXPECT_TRUE(safe->isDefault()) << size;
        EXPECT_TRUE(safe->hasFocus()) << size;
        EXPECT_FALSE(risky->isDefault()) << size;
    }
}

TEST_F(AlertLooksTest, NothingInItIsFormatting)
{
    open(u"<b>bold</b> <img src=x>"_s);
    EXPECT_EQ(shown().textFormat(), Qt::PlainText);
    EXPECT_EQ(shown().rows(), QStringList{u"<b>bold</b> <img src=x>"_s});
}

} // namespace
} // namespace Larkhaven
