#pragma once

#include "UITestSupport.h"
#include "support/ModelFixture.h"
#include "views/compose/AddressField.h"
#include "views/compose/AttachmentStrip.h"
#include "views/compose/ComposeTextView.h"
#include "views/compose/ComposeWindows.h"

#include <QMessageBox>
#include <QPushButton>
#include <QSemaphore>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

namespace Larkhaven {

/// Contacts in memory.
class FakeAddressBook final : public AddressBook {
public:
    Task<Authorization> authorization() override;
    Task<bool> requestAuthorization() override;
    Task<> enumerate(std::function<void(QList<Contact>)> found) override;

    QList<Contact> contacts;
    int questions = 0; ///< how often the authorization was read
};

/// The compose windows of a model without network, and a desktop that gives the files told.
class ComposeTest : public testing::Test {
protected:
    explicit ComposeTest(const QList<Account>& accounts = {ModelFixture::imapAccount()});
    ~ComposeTest() override;

    AppModel& model() { return fixture.model(); }
    ComposeDraft draft() const;
    /// Opens a window for the draft, and waits until it is on the screen.
    ComposeWindow& open(const ComposeDraft& draft);
    ComposeWindow& open() { return open(draft()); }

    template <typename Widget>
    static Widget& child(const QWidget& parent, const char* name)
    {
        auto* const found = parent.findChild<Widget*>(QString::fromLatin1(name));
        if (!found)
            throw std::runtime_error(name);
        return *found;
    }
    static ComposeTextView& text(const ComposeWindow& window)
    {
        return child<ComposeTextView>(window, "composeText");
    }
    static AddressField& field(const ComposeWindow& window, const char* name)
    {
        return child<AddressField>(window, name);
    }
    static AttachmentStrip& strip(const ComposeWindow& window)
    {
        return child<AttachmentStrip>(window, "attachmentStrip");
    }
    /// The alert of the name that is on the screen; null for none.
    static QMessageBox* alert(const QWidget& window, const char* name);
    static void pressSend(const QWidget& window);
    static void press(QMessageBox& alert, const QString& button);

    QString makeFile(const QString& name, qint64 size);
    static QUrl url(const QString& path) { return QUrl::fromLocalFile(path); }

    ModelFixture fixture;
    QTemporaryDir folder;
    std::shared_ptr<FakeAddressBook> book = std::make_shared<FakeAddressBook>();
    ContactsService contacts{book};
    QList<QUrl> chosenFiles;
    /// Files are read while it is open.
    std::shared_ptr<QSemaphore> readingGate = std::make_shared<QSemaphore>(1);
    std::unique_ptr<ComposeWindows> windows;
};

/// The same, with a draft that has an address.
class ComposeWindowTest : public ComposeTest {
protected:
    ComposeDraft addressed() const;
    static void drop(const ComposeWindow& window, const QList<QUrl>& files);
    static QStringList names(const ComposeWindow& window);
};

} // namespace Larkhaven
