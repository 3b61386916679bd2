#include "support/ModelFixture.h"
#include "support/WaitUntil.h"
#include "views/compose/ComposeTextView.h"
#include "views/compose/ComposeWindows.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QMimeData>

#include <algorithm>
#include <cstdio>

// Prints how long the main thread is held by what is done to a compose window, in milliseconds: the step
// itself, and the longest turn of the event loop in the seconds after it.

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

class LargeAddressBook final : public AddressBook {
public:
    Task<Authorization> authorization() override { co_return Authorization::authorized; }
    Task<bool> requestAuthorization() override { co_return true; }
    Task<> enumerate(std::function<void(QList<Contact>)> found) override
    {
        QList<Contact> contacts;
        for (int number = 0; number < 100'000; ++number)
            contacts.append(
                {u"Person"_s, {}, u"Number %1"_s.arg(number), {}, {}, {u"p%1@example.com"_s.arg(number)}});
        found(contacts);
        co_return;
    }
};

void measure(const char* name, std::chrono::milliseconds aftermath, const std::function<void()>& step)
{
    QElapsedTimer clock;
    clock.start();
    step();
    const qint64 own = clock.elapsed();
    qint64 longest = 0;
    QElapsedTimer whole;
    whole.start();
    while (whole.elapsed() < aftermath.count()) {
        clock.restart();
        QCoreApplication::processEvents();
        longest = std::max(longest, clock.elapsed());
    }
    std::printf("%-32s %5lld ms, then at most %5lld ms\n", name, static_cast<long long>(own),
                static_cast<long long>(longest));
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    ModelFixture fixture;
    ContactsService contacts(std::make_shared<LargeAddressBook>());
    ComposeWindows windows(fixture.model(), {}, contacts);
    const auto open = [&] {
        ComposeDraft draft;
        draft.id = QUuid::createUuid();
        draft.accountID = fixture.account().id;
        draft.isRichText = true;
        fixture.model().openCompose(draft);
        return windows.window(draft.id);
    };
    ComposeWindow* window = nullptr;
    for (const char* const name : {"first window", "second window", "third window"})
        measure(name, std::chrono::milliseconds(1'000), [&] { window = open(); });
    auto* const text = window->findChild<ComposeTextView*>();
    QApplication::clipboard()->setText(u"These are the words of one line of a text.\n"_s.repeated(24'000));
    measure("1 MB pasted", std::chrono::seconds(6), [&] { text->paste(); });
    measure("a word typed into it", std::chrono::seconds(5), [&] { text->insertPlainText(u"x"_s); });
    text->insertPlainText(u" "_s + QString(60, u'w') + u" "_s);
    auto* const other = open();
    ComposeDraft heavy;
    heavy.id = QUuid::createUuid();
    heavy.accountID = fixture.account().id;
    heavy.attachments = {{QUuid::createUuid(), u"a"_s, u"text/plain"_s, QByteArray(26'214'400, 'x')}};
    fixture.model().openCompose(heavy);
    ComposeWindow* const loaded = windows.window(heavy.id);
    measure("25 MiB attached, and typed", std::chrono::seconds(4),
            [&] { loaded->findChild<ComposeTextView*>()->insertPlainText(u"x"_s); });
    fixture.model().start(contacts.requestAccess());
    waitUntil([&] { return contacts.status() == ContactsService::Status::ready; }, std::chrono::seconds(60));
    for (const QString& query : {u"p"_s, u"number 99999"_s, u"nobody"_s})
        measure("100,000 contacts, one key", std::chrono::milliseconds(50),
                [&] { contacts.suggest(query, {}, 6); });
    Q_UNUSED(other)
    return 0;
}
