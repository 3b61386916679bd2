#include "ComposeSupport.h"

#include "Gestures.h"
#include "views/style/FlatButton.h"

#include <QFile>
#include <QMimeData>

#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

Task<AddressBook::Authorization> FakeAddressBook::authorization()
{
    ++questions;
    co_return Authorization::authorized;
}

Task<bool> FakeAddressBook::requestAuthorization()
{
    co_return true;
}

Task<> FakeAddressBook::enumerate(std::function<void(QList<Contact>)> found)
{
    found(contacts);
    co_return;
}

ComposeTest::ComposeTest(const QList<Account>& accounts)
    : fixture(accounts)
{
    Style::shared().setTextSize(Style::standardTextSize);
    Style::shared().setScheme(Style::Scheme::light);
    Style::shared().applyToApplication();
    ComposeView::Desktop desktop;
    desktop.chooseFiles = [this](QWidget*, const std::function<void(QList<QUrl>)>& chosen) {
        chosen(chosenFiles);
    };
    desktop.readFiles = [gate = readingGate](const QList<QUrl>& files, qint64 total, qint64 limit) {
        gate->acquire();
        gate->release();
        return ComposeFiles::read(files, total, limit);
    };
    windows = std::make_unique<ComposeWindows>(fixture.model(), desktop, contacts);
}

ComposeTest::~ComposeTest()
{
    if (readingGate->available() == 0)
        readingGate->release();
    windows.reset();
    settle();
}

ComposeDraft ComposeTest::draft() const
{
    ComposeDraft draft;
    draft.id = QUuid::createUuid();
    draft.accountID = fixture.account().id;
    return draft;
}

ComposeWindow& ComposeTest::open(const ComposeDraft& draft)
{
    model().openCompose(draft);
    ComposeWindow* const window = windows->window(draft.id);
    if (!window)
        throw std::runtime_error("no window opened");
    show(*window);
    return *window;
}

QMessageBox* ComposeTest::alert(const QWidget& window, const char* name)
{
    for (auto* const found : window.findChildren<QMessageBox*>(QString::fromLatin1(name))) {
        if (found->isVisible())
            return found;
    }
    return nullptr;
}

void ComposeTest::press(QMessageBox& alert, const QString& button)
{
    clickButton(alert, button);
}

QString ComposeTest::makeFile(const QString& name, qint64 size)
{
    QFile file(folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_TRUE(file.resize(size));
    return file.fileName();
}

ComposeDraft ComposeWindowTest::addressed() const
{
    ComposeDraft draft = this->draft();
    draft.to = u"ada@example.com"_s;
    draft.subject = u"A subject"_s;
    draft.body = u"The text"_s;
    return draft;
}

void ComposeTest::pressSend(const QWidget& window)
{
    leftClick(child<FlatButton>(window, "send"));
}

void ComposeWindowTest::drop(const ComposeWindow& window, const QList<QUrl>& files)
{
    auto data = std::make_unique<QMimeData>();
    data->setUrls(files);
    dragOnto(*text(window).viewport(), {20, 20}, std::move(data));
}

QStringList ComposeWindowTest::names(const ComposeWindow& window)
{
    QStringList names;
    for (const OutgoingAttachment& attachment : strip(window).attachments())
        names.append(attachment.filename);
    return names;
}

} // namespace Larkhaven
