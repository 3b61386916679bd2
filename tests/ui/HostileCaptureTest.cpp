#include "Internet.h"
#include "UITestSupport.h"
#include "format/MIMEParser.h"
#include "support/QtPrinters.h"
#include "views/reader/EngineProcess.h"
#include "views/reader/MessageDocument.h"
#include "views/reader/SecureMessageView.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <gmock/gmock.h>
#include <random>

using namespace Qt::StringLiterals;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSubsetOf;

namespace Larkhaven {
namespace {

/// Hosts of the user's own networks in every spelling, and what else no image may come from.
const QStringList forbiddenHosts{u"127.0.0.1"_s,
                                 u"127.1"_s,
                                 u"2130706433"_s,
                                 u"0x7f000001"_s,
                                 u"0x7f.1"_s,
                                 u"017700000001"_s,
                                 u"0"_s,
                                 u"0.0.0.0"_s,
                                 u"10.0.0.1"_s,
                                 u"172.16.0.1"_s,
                                 u"192.168.1.1"_s,
                                 u"169.254.169.254"_s,
                                 u"100.64.0.1"_s,
                                 u"192.0.2.1"_s,
                                 u"198.18.0.1"_s,
                                 u"224.0.0.1"_s,
                                 u"255.255.255.255"_s,
                                 u"%31%32%37.0.0.1"_s,
                                 u"[::1]"_s,
                                 u"[::]"_s,
                                 u"[fe80::1]"_s,
                                 u"[fd00::1]"_s,
                                 u"[fc00::7]"_s,
                                 u"[ff02::1]"_s,
                                 u"[::ffff:127.0.0.1]"_s,
                                 u"[::ffff:7f00:1]"_s,
                                 u"[::127.0.0.1]"_s,
                                 u"[64:ff9b::7f00:1]"_s,
                                 u"[2002:7f00:1::]"_s,
                                 u"[2001:db8::1]"_s,
                                 u"localhost"_s,
                                 u"localhost."_s,
                                 u"LOCALHOST"_s,
                                 u"a.localhost"_s,
                                 u"router"_s,
                                 u"printer.local"_s,
                                 u"printer.LOCAL."_s,
                                 u"nas.internal"_s,
                                 u"hub.home.arpa"_s,
                                 u"h1.example:8443"_s,
                                 u"h1.example:80"_s,
                                 u"h1.example:22"_s,
                                 u"user:password@h1.example"_s};

/// Names that lead into the user's own networks, at once or when they are asked for again.
const QStringList leadingInside{u"h30.example"_s, u"h31.example"_s, u"h32.example"_s, u"h33.example"_s,
                                u"h34.example"_s};

/// Ways to have a URL asked for.
const QStringList ways{
    u"<img src=\"{url}\" width=\"90\" height=\"90\">"_s,
    u"<IMG SRC='{url}' WIDTH=90 HEIGHT=90>"_s,
    u"<img src={url} width=90 height=90>"_s,
    u"<img/src=\"{url}\"/width=90/height=90>"_s,
    u"<img width=90 height=90 src=\"\t{url}\n\">"_s,
    u"<img src=\"&#104;ttps{rest}\" width=90 height=90>"_s,
    u"<img src=\"&#x68;&Tab;ttps{rest}\" width=90 height=90>"_s,
    u"<img src=\"HTTPS{rest}\" width=90 height=90>"_s,
    u"<img src=\"https:\\\\{host}\\x.png\" width=90 height=90>"_s,
    u"<img src=\"//{host}/x.png\" width=90 height=90>"_s,
    u"<img src=\"http://{host}/x.png\" width=90 height=90>"_s,
    u"<img src=x srcset=\"{url} 2x\" width=90 height=90>"_s,
    u"<picture><source srcset=\"{url}\"><img src=\"{url}\" width=90 height=90></picture>"_s,
    u"<svg><image href=\"{url}\" xlink:href=\"{url}\"/></svg>"_s,
    u"<input type=image src=\"{url}\">"_s,
    u"<video poster=\"{url}\" src=\"{url}\" autoplay></video>"_s,
    u"<audio src=\"{url}\" autoplay></audio>"_s,
    u"<table background=\"{url}\"><tr><td background=\"{url}\">x</table>"_s,
    u"<body background=\"{url}\">"_s,
    u"<div style=\"background:url({url});height:90px\">x</div>"_s,
    u"<div style=\"background:u\\72l({url});height:90px\">x</div>"_s,
    u"<div style=\"background:ur/**/l('{url}');height:90px\">x</div>"_s,
    u"<div style=\"background-image:image-set('{url}' 1x);height:90px\">x</div>"_s,
    u"<div style=\"background-image:-webkit-image-set(url({url}) 1x);height:90px\">x</div>"_s,
    u"<div style=\"--p:url({url});background:var(--p);height:90px\">x</div>"_s,
    u"<div style=\"background:cross-fade(url({url}),url({url}),50%);height:90px\">x</div>"_s,
    u"<ul style=\"list-style:url({url})\"><li>x</ul>"_s,
    u"<p style=\"cursor:url({url}),auto;content:url({url})\">x</p>"_s,
    u"<style>@import '{url}';@font-face{font-family:f;src:url({url})}p{font-family:f}</style><p>x"_s,
    u"<style>p::before{content:url({url})}p{mask:url({url});filter:url({url}#f)}</style><p>x"_s,
    u"<style><!--</style><img src=\"{url}\">--></style>"_s,
    u"<link rel=stylesheet href=\"{url}\"><link rel=icon href=\"{url}\">"_s,
    u"<link rel=preconnect href=\"{url}\"><link rel=dns-prefetch href=\"//{host}\">"_s,
    u"<link rel=prefetch href=\"{url}\"><link rel=preload as=image href=\"{url}\">"_s,
    u"<meta http-equiv=refresh content=\"0;url={url}\">"_s,
    u"<base href=\"https://{host}/\"><img src=\"x.png\" width=90 height=90>"_s,
    u"<iframe src=\"{url}\"></iframe><iframe srcdoc=\"<img src={url}>\"></iframe>"_s,
    u"<object data=\"{url}\"></object><embed src=\"{url}\">"_s,
    u"<script>new Image().src='{url}';fetch('{url}');new WebSocket('wss://{host}')</script>"_s,
    u"<img src=x onerror=\"this.src='{url}'\"><svg onload=\"fetch('{url}')\">"_s,
    u"<form action=\"{url}\"><button autofocus onfocus=\"this.form.submit()\">x</button></form>"_s,
    u"<a href=\"{url}\" ping=\"{url}\">x</a>"_s,
    u"<noscript><img src=\"{url}\"></noscript><template><img src=\"{url}\"></template>"_s,
    u"<math><mtext><img src=\"{url}\" width=90 height=90></mtext></math>"_s,
    u"<textarea><img src=\"{url}\"></textarea><title><img src=\"{url}\"></title>"_s,
    u"<!--><img src=\"{url}\" width=90 height=90>-->"_s,
    u"<x y=\"<img src='{url}' width=90 height=90>\">"_s,
    u"<img src=\"data:image/svg+xml,<svg xmlns='http://www.w3.org/2000/svg'><image href='{url}'/></svg>\">"_s};

/// What stands around a piece.
const QStringList wraps{u"{piece}"_s,
                        u"<table><tr><td>{piece}</table>"_s,
                        u"<div style=\"display:flex\">{piece}</div>"_s,
                        u"<p><b><i>{piece}"_s,
                        u"<blockquote>{piece}</blockquote>"_s,
                        u"</div></td></table>{piece}"_s,
                        u"<center><font color=red>{piece}</font></center>"_s};

constexpr int messages = 500;

/// Messages that try all of it in turn, and the hosts of all kinds. The same in each run.
class Corpus {
public:
    QString next()
    {
        QString body;
        for (int piece = 0; piece < 4; ++piece) {
            const QString host = nextHost();
            const QString rest = u"://"_s + host + u"/%1.png"_s.arg(++m_images);
            QString written = ways.at(m_way++ % ways.size());
            written.replace(u"{url}"_s, u"https"_s + rest)
                .replace(u"{rest}"_s, rest)
                .replace(u"{host}"_s, host);
            body += QString(wraps.at(below(wraps.size()))).replace(u"{piece}"_s, written);
        }
        return u"<html><body>"_s + body + u"</body></html>"_s;
    }

private:
    QString nextHost()
    {
        switch (below(4)) {
        case 0:
            return u"h%1.example"_s.arg(below(20));
        case 1:
            return leadingInside.at(below(leadingInside.size()));
        case 2:
            // Leads on to where no image may come from.
            return u"h2%1.example/to/%2"_s.arg(below(10)).arg(m_forbidden % forbiddenHosts.size());
        default:
            return forbiddenHosts.at(m_forbidden++ % forbiddenHosts.size());
        }
    }
    qsizetype below(qsizetype bound)
    {
        return static_cast<qsizetype>(m_random() % static_cast<quint32>(bound));
    }

    std::mt19937 m_random{20'261'123};
    qsizetype m_way = 0;
    qsizetype m_forbidden = 0;
    int m_images = 0;
};

/// Opens hostile messages and counts every attempt to reach anybody.
class HostileCaptureTest : public testing::Test {
protected:
    HostileCaptureTest()
    {
        view.resize(400, 400);
        show(view);
        const auto leadsTo = [this](qsizetype name, const QList<QStringList>& inTurn) {
            QList<QList<QHostAddress>> addresses;
            for (const QStringList& turn : inTurn) {
                addresses.append(QList<QHostAddress>());
                for (const QString& address : turn)
                    addresses.last().append(QHostAddress(address));
            }
            internet.resolve(leadingInside.at(name), addresses);
        };
        leadsTo(0, {{u"10.0.0.1"_s}});
        leadsTo(1, {{u"93.184.216.34"_s}, {u"127.0.0.1"_s}});
        leadsTo(2, {{u"fd00::1"_s}, {u"::1"_s}});
        leadsTo(3, {{u"2606:2800:220:1::1"_s}, {u"192.168.1.1"_s, u"fe80::1"_s}});
        leadsTo(4, {{u"::ffff:127.0.0.1"_s, u"169.254.169.254"_s}});
    }

    void display(const SanitizedHTML& content, bool allowRemoteImages)
    {
        const QSignalSpy loads(&view, &SecureMessageView::loadFinished);
        view.display(content, allowRemoteImages, 1);
        ASSERT_TRUE(waitUntil([&loads] { return !loads.isEmpty(); }));
    }

    static SanitizedHTML documentOf(const QString& html, bool allowRemoteImages)
    {
        return MessageDocument::make(MIMEParser::parse(htmlMessage(html)), allowRemoteImages);
    }

    /// Redirects by the numbers of the paths that the corpus writes.
    void redirect(const QString& html)
    {
        static const QRegularExpression pattern(u"(h2\\d\\.example)(/to/(\\d+)/\\d+\\.png)"_s);
        auto found = pattern.globalMatch(html);
        while (found.hasNext()) {
            const auto match = found.next();
            const QString target = forbiddenHosts.at(match.captured(3).toInt());
            internet.answer(u"https://"_s + match.captured(1) + match.captured(2),
                            {302, {{"Location", u"https://%1/inside.png"_s.arg(target).toUtf8()}}});
        }
    }

    /// All that went out so far were requests for images from hosts that an image may come from: no attempt
    /// to connect missed our server for HTTPS, and that was reached under public addresses alone.
    void expectOnlyImagesOfThePublicInternet(const Internet::Counters& before)
    {
        EXPECT_EQ(internet.plainConnections(), 0);
        EXPECT_EQ(Internet::counters().connects - before.connects, internet.connections());
        EXPECT_THAT(internet.reached(),
                    IsSubsetOf({QHostAddress(u"93.184.216.34"_s), QHostAddress(u"2606:2800:220:1::1"_s)}));
        QStringList askable = leadingInside;
        for (int number = 0; number < 40; ++number)
            askable.append(u"h%1.example"_s.arg(number));
        askable.append(u"sentinel.example"_s);
        EXPECT_THAT(internet.lookups(), IsSubsetOf(askable));
        for (const Internet::Request& request : internet.requests()) {
            EXPECT_EQ(request.method, "GET");
            EXPECT_EQ(request.header("user-agent"), "Mozilla/5.0");
            EXPECT_EQ(request.header("referer"), std::nullopt);
            EXPECT_EQ(request.header("authorization"), std::nullopt);
        }
    }

    /// Loads an image that is allowed, which proves that this network would have shown what was tried.
    void expectThatTheNetworkWorks()
    {
        display({filled(u"<img src=\"https://sentinel.example/s.png\">"_s), {}, 0, 0}, true);
        EXPECT_TRUE(waitUntil([this] { return internet.hosts().contains(u"sentinel.example"_s); }));
    }

    Internet internet;
    SecureMessageView view;
};

TEST_F(HostileCaptureTest, AsksNobodyForHostileMessagesWithoutConsent)
{
    Corpus corpus;
    const Internet::Counters before = Internet::counters();
    for (int number = 0; number < messages; ++number) {
        const QString html = corpus.next();
        display(documentOf(html, false), false);
        ASSERT_EQ(Internet::counters(), before) << html.toStdString();
    }
    EXPECT_THAT(internet.lookups(), IsEmpty());
    EXPECT_EQ(internet.connections(), 0);
    expectThatTheNetworkWorks();
}

TEST_F(HostileCaptureTest, AsksOnlyHostsOfThePublicInternetForTheImagesOfHostileMessages)
{
    Corpus corpus;
    const Internet::Counters before = Internet::counters();
    for (int number = 0; number < messages; ++number) {
        const QString html = corpus.next();
        redirect(html);
        display(documentOf(html, true), true);
        ASSERT_EQ(Internet::counters().connects - before.connects, internet.connections())
            << html.toStdString();
    }
    expectOnlyImagesOfThePublicInternet(before);
    // The corpus is worth something: it had images that may load, redirects, and names that change.
    EXPECT_GT(internet.requests().size(), 100);
    EXPECT_TRUE(std::ranges::any_of(internet.requests(), [](const Internet::Request& request) {
        return request.url.contains(u"/to/"_s);
    }));
    for (const QString& name : leadingInside)
        EXPECT_TRUE(internet.lookups().contains(name)) << name.toStdString();
    expectThatTheNetworkWorks();
}

TEST_F(HostileCaptureTest, AsksNobodyForHostileMessagesThatNoSanitizerHasSeen)
{
    Corpus corpus;
    const Internet::Counters before = Internet::counters();
    for (int number = 0; number < messages; ++number) {
        const QString html = corpus.next();
        // No policy in the document either.
        display({html, {}, 0, 0}, false);
        ASSERT_EQ(Internet::counters(), before) << html.toStdString();
    }
    EXPECT_THAT(internet.lookups(), IsEmpty());
    EXPECT_EQ(internet.connections(), 0);
    expectThatTheNetworkWorks();
}

TEST_F(HostileCaptureTest, AsksOnlyForImagesOfThePublicInternetWhereNeitherSanitizerNorRulesHoldTheEngine)
{
    const std::optional<ContentBlocker::RuleList> none = ContentBlocker::RuleList::compile(
        R"([{"trigger":{"url-filter":".*"},"action":{"type":"ignore-previous-rules"}}])");
    ASSERT_TRUE(none);
    SecureMessageView open(
        nullptr, [&none](ContentBlocker::Mode) -> const ContentBlocker::RuleList& { return *none; });
    open.resize(400, 400);
    show(open);
    Corpus corpus;
    const Internet::Counters before = Internet::counters();
    for (int number = 0; number < messages; ++number) {
        const QString html = corpus.next();
        redirect(html);
        const QSignalSpy loads(&open, &SecureMessageView::loadFinished);
        const QSignalSpy troubles(&open, &SecureMessageView::troubleChanged);
        open.display({html, {}, 0, 0}, true, 1);
        ASSERT_TRUE(waitUntil([&] { return !loads.isEmpty() || !troubles.isEmpty(); })) << html.toStdString();
    }
    expectOnlyImagesOfThePublicInternet(before);
    expectThatTheNetworkWorks();
}

// --- Bounds, in a window and with the memory of all processes

/// What the processes of this program have to themselves, together, in bytes.
qint64 memoryOfAll()
{
    qint64 all = EngineProcess::memory(getpid()).resident;
    QList<qint64> parents{getpid()};
    const QStringList processes = QDir(u"/proc"_s).entryList(QDir::Dirs);
    QHash<qint64, QList<qint64>> children;
    for (const QString& name : processes) {
        QFile file(u"/proc/%1/stat"_s.arg(name));
        bool isNumber = false;
        const qint64 process = name.toLongLong(&isNumber);
        if (!isNumber || !file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray line = file.readAll();
        const QList<QByteArray> values = line.mid(line.lastIndexOf(')') + 2).split(' ');
        children[values.value(1).toLongLong()].append(process);
    }
    while (!parents.isEmpty()) {
        for (const qint64 child : children.value(parents.takeLast())) {
            all += EngineProcess::memory(child).resident;
            parents.append(child);
        }
    }
    return all;
}

#if defined(__SANITIZE_ADDRESS__)
/// What is freed is kept for a while to be watched.
constexpr qint64 sanitizerShare = 4;
#else
constexpr qint64 sanitizerShare = 1;
#endif

class ImageBoundsTest : public HostileCaptureTest {
protected:
    /// Shows the images and waits until as many were refused; gives the most memory that all processes had.
    qint64 mostMemory(const QString& body, int refused)
    {
        qint64 most = 0;
        view.display(documentOf(body, true), true, 1);
        EXPECT_TRUE(waitUntil(
            [&] {
                most = std::max(most, memoryOfAll());
                return view.refusedImages() == refused;
            },
            std::chrono::seconds(60)))
            << view.refusedImages();
        return most;
    }

    static QString image(int number)
    {
        return u"<img src=\"https://h1.example/%1.png\" width=\"90\" height=\"90\">"_s.arg(number);
    }

    static constexpr qint64 mebibyte = 1024 * 1024;
    QByteArray png = QByteArray::fromHex("89504e470d0a1a0a0000000d49484452") +
                     QByteArray::fromHex("0000000a0000000a0806000000") + QByteArray(4, '\0');
};

TEST_F(ImageBoundsTest, EndsAnImageWithoutAnEnd)
{
    display({filled(u"one"_s), {}, 0, 0}, true);
    const qint64 before = memoryOfAll();
    internet.answer(u"https://h1.example/1.png"_s, {200, {}, png, true});
    const qint64 most = mostMemory(image(1), 1);
    std::cout << "An image without an end: " << (before >> 20) << " MiB before, " << (most >> 20)
              << " MiB at most, " << (internet.bytesSent() >> 20) << " MiB sent." << std::endl;
    EXPECT_LT(internet.bytesSent(), 40 * mebibyte);
    EXPECT_LT(most - before, sanitizerShare * (200 * mebibyte));
}

TEST_F(ImageBoundsTest, EndsTheImagesOfAMessageTogether)
{
    display({filled(u"one"_s), {}, 0, 0}, true);
    const qint64 before = memoryOfAll();
    const QByteArray large = png + QByteArray(15 * mebibyte, 'x');
    QString body;
    for (int number = 1; number <= 8; ++number) {
        internet.answer(u"https://h1.example/%1.png"_s.arg(number), {200, {}, large});
        body += image(number);
    }
    // Three of 15 MiB fit into 50.
    const qint64 most = mostMemory(body, 5);
    std::cout << "Eight images of 15 MiB: " << (before >> 20) << " MiB before, " << (most >> 20)
              << " MiB at most." << std::endl;
    EXPECT_LT(most - before, sanitizerShare * (600 * mebibyte));
}

QByteArray little(quint32 value, int bytes = 2)
{
    QByteArray written;
    for (int byte = 0; byte < bytes; ++byte)
        written += static_cast<char>(value >> (8 * byte));
    return written;
}

TEST_F(ImageBoundsTest, RefusesBombsByWhatTheyAnnounce)
{
    const QByteArray wide = QByteArray::fromHex("89504e470d0a1a0a0000000d49484452") +
                            QByteArray::fromHex("0000c3500000c3500806000000") + QByteArray(64, '\0');
    const QByteArray gif = "GIF89a" + little(60'000, 2) + little(60'000, 2) + QByteArray(64, '\0');
    const QByteArray webP = "RIFF" + little(100, 4) + "WEBPVP8X" + little(10, 4) + QByteArray(4, '\0') +
                            little(16'000, 3) + little(16'000, 3) + QByteArray(64, '\0');
    const QList<QByteArray> bombs{wide, gif, webP};
    QString body;
    for (int index = 0; index < bombs.size(); ++index) {
        internet.answer(u"https://h1.example/%1.png"_s.arg(index), {200, {}, bombs[index]});
        body += image(index);
    }
    display({filled(u"one"_s), {}, 0, 0}, true);
    const qint64 before = memoryOfAll();
    const qint64 most = mostMemory(body, 3);
    std::cout << "Bombs: " << (before >> 20) << " MiB before, " << (most >> 20) << " MiB at most."
              << std::endl;
    EXPECT_LT(most - before, sanitizerShare * (100 * mebibyte));
}

/// The pixels of a GIF picture of one colour (GIF89a, appendix F): each code is a run that is longer by one
/// than the one before, so that a few kilobytes hold millions.
QByteArray runs(qint64 pixels)
{
    constexpr quint32 clear = 4;
    constexpr quint32 end = 5;
    constexpr int widest = 12;
    QByteArray data;
    quint64 bits = 0;
    int held = 0;
    const auto write = [&](quint32 code, int width) {
        bits |= quint64(code) << held;
        for (held += width; held >= 8; held -= 8, bits >>= 8)
            data += static_cast<char>(bits);
    };
    int width = 3;
    while (pixels > 0) {
        write(clear, width);
        width = 3;
        for (qint64 run = 1; run <= 4091 && pixels > 0; ++run) {
            const qint64 taken = std::min(run, pixels);
            write(taken == 1 ? 1 : static_cast<quint32>(4 + taken), width);
            pixels -= taken;
            if (run > 1 && 5 + run == qint64(1) << width && width < widest)
                ++width;
        }
    }
    write(end, width);
    write(0, 7);
    QByteArray blocks;
    for (qsizetype start = 0; start < data.size(); start += 255) {
        const QByteArray block = data.mid(start, 255);
        blocks += static_cast<char>(block.size()) + block;
    }
    return '\2' + blocks + '\0';
}

/// An animation of many frames, each nearly as large as an image may be: it is shown, frame for frame.
TEST_F(ImageBoundsTest, HoldsAnAnimationOfLargeFramesToTheMemoryOfAProcess)
{
    constexpr int side = 7000;
    QByteArray animation = "GIF89a" + little(side) + little(side) + "\x80\0\0\0\0\0\0\0\xff"_ba +
                           "\x21\xff\x0bNETSCAPE2.0\3\1\0\0\0"_ba;
    const QByteArray pixels = runs(qint64(side) * side);
    for (int frame = 0; frame < 200; ++frame)
        animation += "\x21\xf9\4\4\1\0\0\0,\0\0\0\0"_ba + little(side) + little(side) + '\0' + pixels;
    animation += ';';
    ASSERT_LT(animation.size(), 20 * mebibyte);
    internet.answer(u"https://h1.example/1.png"_s, {200, {}, animation});
    display({filled(u"one"_s), {}, 0, 0}, true);
    const qint64 before = memoryOfAll();
    qint64 most = 0;
    view.display(documentOf(u"<img src=\"https://h1.example/1.png\" width=\"390\" height=\"390\">"_s, true),
                 true, 1);
    EXPECT_TRUE(waitForColor(view, QPoint(200, 200), QColor(0, 0, 255)));
    const auto watched = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (std::chrono::steady_clock::now() < watched) {
        QTest::qWait(20);
        most = std::max(most, memoryOfAll());
    }
    std::cout << "An animation of 49 megapixels: " << (before >> 20) << " MiB before, " << (most >> 20)
              << " MiB at most." << std::endl;
    EXPECT_EQ(internet.requests().size(), 1);
    EXPECT_LT(most - before, sanitizerShare * (EngineProcess::mostMemory + 200 * mebibyte));
}

} // namespace
} // namespace Larkhaven
