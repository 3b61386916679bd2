#pragma once

#include "auth/KeychainStore.h"
#include "domain/Account.h"
#include "domain/MailProvider.h"
#include "domain/Mailbox.h"
#include "domain/Message.h"
#include "format/ParsedMessage.h"
#include "model/SortField.h"
#include "model/UserDefaults.h"
#include "protocols/MailTransport.h"
#include "store/MailCache.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace Larkhaven {

/// What is selected in the sidebar.
struct SidebarItem {
    QUuid accountID;
    MailboxRef ref = MailboxRef::system(Mailbox::inbox);

    bool operator==(const SidebarItem&) const = default;
};
size_t qHash(const SidebarItem& item, size_t seed = 0);

/// The state of a message that is being written.
struct ComposeDraft {
    QUuid id;
    QString to; ///< as typed: addresses separated by commas

    bool operator==(const ComposeDraft&) const = default;
};

/// The single state object of the running application: accounts, mailboxes, the rows on screen, and all flows
/// over them.
///
/// Lives on the main thread; views read its fields, watch its signals and call its operations. A field's
/// signal comes only when the value is another than before. Every failure of the mail logic that concerns the
/// user comes through `report`.
///
/// Flows hold the model weakly: once it is gone, what is under way ends with no further effect.
class AppModel : public QObject {
    Q_OBJECT

public:
    /// What the model needs of the system. Tests give their own.
    struct Services {
        std::shared_ptr<UserDefaults> defaults;
        std::shared_ptr<SecretStore> secrets;     ///< credentials by account
        std::shared_ptr<KeychainStore> cacheKeys; ///< cache keys by account
        QString cachesDirectory;                  ///< the user's; empty where there is none
        TransportFactory transports;
        /// Sleeps for the refresh loop on a clock that counts while the machine sleeps; false when it was
        /// stopped.
        std::function<Task<bool>(std::chrono::milliseconds, std::stop_token)> sleep;
        std::function<void(qint64)> showBadge; ///< the number on the launcher's icon; 0 for none
    };
    /// The real ones.
    static Services systemServices();

    /// The name of the application in the system, and the first part of the names of its keychain services.
    static const QString& bundleIdentifier();

    /// The limit of an account's cached messages, in bytes (500 MiB).
    static constexpr qint64 cacheLimit = 524'288'000;
    static constexpr int defaultPageSize = 25;

    /// Reads the account list, selects the first account's Inbox and starts the refresh loop. Loads nothing.
    explicit AppModel(Services services, QObject* parent = nullptr);
    ~AppModel() override;

    UserDefaults& defaults() const { return *m_services.defaults; }

    // --- Fields
    const QList<Account>& accounts() const { return m_accounts; }
    const std::optional<SidebarItem>& sidebarSelection() const { return m_sidebarSelection; }
    /// The rows on screen, one page.
    const QList<MessageSummary>& messages() const { return m_messages; }
    bool isLoading() const { return m_isLoading; }
    const QString& searchText() const { return m_searchText; }
    const QList<SortComparator>& sortOrder() const { return m_sortOrder; }
    /// Ids of rows.
    const QSet<QString>& selection() const { return m_selection; }
    /// Ids of opened messages; the last is on screen.
    const QList<QString>& path() const { return m_path; }
    const std::optional<QUuid>& pendingCompose() const { return m_pendingCompose; }
    /// The body of the open message.
    const std::optional<ParsedMessage>& openParsed() const { return m_openParsed; }
    /// The alert to show.
    const std::optional<QString>& errorMessage() const { return m_errorMessage; }
    /// Accounts whose credential no longer works.
    const QSet<QUuid>& needsReauth() const { return m_needsReauth; }
    QList<MailLabel> labels(const QUuid& accountID) const { return m_labels.value(accountID); }
    /// The page on screen, from 0.
    int pageIndex() const { return m_pageIndex; }
    bool hasNextPage() const { return m_hasNextPage; }
    const std::optional<qint64>& total() const { return m_total; }
    /// Unread counts of an account by `MailboxRef::id`.
    QHash<QString, qint64> counts(const QUuid& accountID) const { return m_counts.value(accountID); }
    /// Whether the page is kept, so that it shows without the network.
    bool hasCachedPage(int page) const { return m_pageCache.contains(page); }

    void setSearchText(const QString& text);
    void setSortOrder(const QList<SortComparator>& order);
    void setSelection(const QSet<QString>& selection);
    void setPath(const QList<QString>& path);
    void setOpenParsed(const std::optional<ParsedMessage>& message);
    void clearErrorMessage();
    /// The draft of a compose window, which leaves the model with it.
    std::optional<ComposeDraft> takeComposeSeed(const QUuid& id);
    void clearPendingCompose();

    // --- Derived values
    std::optional<Account> selectedAccount() const;
    /// A row by its id: first among `messages`, then among the opened ones.
    std::optional<MessageSummary> message(const QString& id) const;
    /// 25, 50 or 100.
    int pageSize() const;
    /// "26–50 of 60"; empty with no rows.
    QString pagerText() const;
    /// "Label" for a Google account, otherwise "Folder".
    QString labelNoun() const;
    /// What the launcher's badge says of the unread messages in all Inboxes: empty, the number, or "9999+".
    QString badgeText() const;

    // --- Accounts
    /// The account's provider, built on the first use; null where it can't be.
    std::shared_ptr<MailProvider> provider(const QUuid& accountID);
    /// The account's cache, built on the first use; null where it can't be.
    std::shared_ptr<MailCache> cache(const QUuid& accountID);
    /// Puts a provider in place of the one that would be built.
    void useProvider(const QUuid& accountID, std::shared_ptr<MailProvider> provider);
    void setNickname(const QUuid& accountID, const QString& text);
    /// Moves the accounts at the offsets, in their order, before the one at `destination` (as counted before
    /// the move).
    void moveAccounts(const QList<int>& sources, int destination);
    /// The one gate through which failures reach the user.
    void report(const std::exception_ptr& failure, const std::optional<QUuid>& accountID = std::nullopt);

    // --- The mailbox on screen
    /// Shows another mailbox. The search in force stays.
    void select(const std::optional<SidebarItem>& item);
    /// Shows another mailbox of the selected account, or of the first one.
    void selectMailbox(const MailboxRef& ref);
    void resetPaging();
    Task<> load(int page, bool refresh);
    /// Checks all accounts for news.
    Task<> refresh();
    Task<> nextPage();
    Task<> previousPage();
    Task<> firstPage();
    Task<> lastPage();
    Task<> applySearch();
    /// Shows the messages from the row's sender.
    void search(const MessageSummary& sender);
    Task<> loadLabels(QUuid accountID);
    Task<> loadCounts(QUuid accountID);
    /// Starts the loop that checks for news every "refreshMinutes", in place of one that runs.
    void startRefreshLoop();

    // --- Messages
    /// Shows the message in the reader and marks it as read.
    void open(const MessageSummary& row);
    /// Asks for a compose window to the address, which may be empty.
    void newMessage(const QString& address);

    /// Runs a flow that nobody waits for; a failure of it goes to `report`.
    void start(Task<> flow, const std::optional<QUuid>& accountID = std::nullopt);

Q_SIGNALS:
    void accountsChanged();
    void sidebarSelectionChanged();
    void messagesChanged();
    void isLoadingChanged();
    void searchTextChanged();
    void sortOrderChanged();
    void selectionChanged();
    void pathChanged();
    void pendingComposeChanged();
    void openParsedChanged();
    void errorMessageChanged();
    void needsReauthChanged();
    void labelsChanged();
    /// `pageIndex`, `hasNextPage` or `total`.
    void pagingChanged();
    void countsChanged();

private:
    using Flag = bool MessageSummary::*;
    /// The rows of a page before a change, to go back to if the server refuses it.
    struct KeptRows {
        quint64 listing;
        int page;
        QList<MessageSummary> rows;
    };

    template <typename Value>
    void assign(Value& field, const Value& value, void (AppModel::*changed)());

    std::shared_ptr<MailProvider> makeProvider(const Account& account);
    std::shared_ptr<MailCache> makeCache(const QUuid& accountID);
    std::optional<QString> query() const;
    KeptRows keepRows() const;
    void restoreRows(const KeptRows& kept);
    void applyPage(int page, const MessagePage& answer);
    void setLoading(bool isLoading);
    void setNeedsReauth(const QUuid& accountID, bool isNeeded);
    void setPaging(int pageIndex, bool hasNextPage, const std::optional<qint64>& total);
    Task<> loadLabelsAndCounts(QUuid accountID);
    void updateBadge();
    static Task<> refreshLoop(QPointer<AppModel> model, std::stop_token stop);

    /// Sets a flag on the rows at once and tells the server in a task.
    void changeFlag(const QList<MessageSummary>& rows, Flag flag, bool value);
    Task<> tellFlag(QUuid accountID, QList<QString> ids, Flag flag, bool value, KeptRows kept);

    Services m_services;
    QList<Account> m_accounts;
    std::optional<SidebarItem> m_sidebarSelection;
    QList<MessageSummary> m_messages;
    bool m_isLoading = false;
    QString m_searchText;
    QList<SortComparator> m_sortOrder{SortComparator{}};
    QSet<QString> m_selection;
    QList<QString> m_path;
    QHash<QString, MessageSummary> m_opened; ///< rows kept for what `path` holds
    std::optional<QUuid> m_pendingCompose;
    QHash<QUuid, ComposeDraft> m_composeSeeds;
    std::optional<ParsedMessage> m_openParsed;
    std::optional<QString> m_errorMessage;
    QSet<QUuid> m_needsReauth;
    QHash<QUuid, std::shared_ptr<MailCache>> m_caches;
    QHash<QUuid, std::shared_ptr<MailProvider>> m_providers;
    quint64 m_loadGeneration = 0; ///< of several loads in flight the newest wins
    quint64 m_listing = 0;        ///< tells one listing (mailbox and search) from the next
    std::stop_source m_refreshLoop;
    QHash<QUuid, QList<MailLabel>> m_labels;
    QHash<int, MessagePage> m_pageCache; ///< of the listing on screen
    int m_pageIndex = 0;
    bool m_hasNextPage = false;
    std::optional<qint64> m_total;
    QHash<QUuid, QHash<QString, qint64>> m_counts;
};

} // namespace Larkhaven
