#include "SampleMail.h"
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
    AppearanceTest() { fillWithSamples(mail); }

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
