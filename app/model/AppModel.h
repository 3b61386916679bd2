#pragma once

#include "app/platform/Info.h"
#include "app/signin/SignInService.h"
#include "auth/KeychainStore.h"
#include "domain/Account.h"
#include "domain/MailProvider.h"
#include "domain/Mailbox.h"
#include "domain/Message.h"
#include "format/ParsedMessage.h"
#include "model/AccentChoice.h"
#include "model/Accounts.h"
#include "model/CheckResults.h"
#include "model/ComposeDraft.h"
#include "model/KeptTexts.h"
#include "model/LabelsAndCounts.h"
#include "model/Listing.h"
#include "model/SortField.h"
#include "model/UserDefaults.h"
#include "model/Writing.h"
#include "platform/Coalescer.h"
#include "protocols/MailTransport.h"
#include "providers/ConnectionTrial.h"
#include "store/MailCache.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QTimer>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <variant>

namespace Larkhaven {

/// What is selected in the sidebar.
struct SidebarItem {
    QUuid accountID;
    MailboxRef ref = MailboxRef::system(Mailbox::inbox);

    bool operator==(const SidebarItem&) const = default;
};
size_t qHash(const SidebarItem& item, size_t seed = 0);

/// The single state object of the running application, and the orchestration of its parts: accounts and what
/// belongs to them (`Accounts`), their labels and counts (`LabelsAndCounts`), the listing on screen with the
/// changes laid over it (`Listing`), and the texts that are being written (`KeptTexts`). Each of these holds
/// one truth; the flows here connect them.
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
        std::shared_ptr<KeychainStore> textKeys;  ///< keys of kept texts by account
        QString cachesDirectory;                  ///< the user's; empty where there is none
        QString keptTextsDirectory; ///< where texts outlive the process; empty where there is no place
        TransportFactory transports;
        /// Sleeps for the refresh loop on a clock that counts while the machine sleeps; false when it was
        /// stopped.
        std::function<Task<bool>(std::chrono::milliseconds, std::stop_token)> sleep;
        std::function<void(qint64)> showBadge; ///< the number on the launcher's icon; 0 for none
        Info info;                             ///< names the services that this build can sign in with
        /// As `SignInService::signIn`, with the user's browser.
        std::function<Task<SignInService::SignedIn>(ProviderKind provider, QUuid accountID,
                                                    std::optional<QString> loginHint, std::stop_token stop)>
            signIn;
        /// As `SignInService::revoke`.
        std::function<Task<>(Credential credential, ProviderKind provider)> revoke;
    };
    /// The real ones; `authenticate` shows a page of a sign-in in the user's browser.
    static Services systemServices(const SignInService::Authenticate& authenticate);

    /// Messages that have just been moved, and can be moved back.
    struct UndoOffer {
        QUuid accountID;
        QString text; ///< "Archived."
        QList<QString> ids;
        quint64 number; ///< another one for each

        bool operator==(const UndoOffer&) const = default;
    };
    /// How long a move can be undone.
    static constexpr std::chrono::seconds undoTime{8};

    /// The open label dialog.
    struct LabelEdit {
        struct Create {
            std::optional<MailLabel> parent;
            QList<MessageSummary> applyTo; ///< rows that get the new label

            bool operator==(const Create&) const = default;
        };
        struct Rename {
            MailLabel label;

            bool operator==(const Rename&) const = default;
        };
        using Kind = std::variant<Create, Rename>;

        QUuid id; ///< a new one for each dialog
        QUuid accountID;
        Kind kind;
        QByteArray mailbox = {}; ///< of the account when the dialog came up, as `Account::mailboxIdentity`

        bool operator==(const LabelEdit&) const = default;
    };
    /// The open question whether a label is to be deleted.
    struct LabelDeletion {
        QUuid id; ///< a new one for each dialog
        QUuid accountID;
        MailLabel label;
        QByteArray mailbox = {}; ///< as in `LabelEdit`

        bool operator==(const LabelDeletion&) const = default;
    };
    /// Whether a compose window is what the user waits for, or comes while they may be doing something else.
    enum class Opening { asked, late };
    /// Asks the user where to save a file of the suggested name; gives its path, empty if they cancel.
    using SavePanel = std::function<QString(const QString&)>;

    /// The name of the application in the system, and the first part of the names of its keychain services.
    static const QString& bundleIdentifier();

    static constexpr qint64 cacheLimit = Accounts::cacheLimit;
    static constexpr int defaultPageSize = 25;

    /// Reads the account list, selects the mailbox that was on screen last, or the first account's Inbox, and
    /// starts the refresh loop. Loads nothing.
    explicit AppModel(Services services, QObject* parent = nullptr);
    ~AppModel() override;

    UserDefaults& defaults() const { return *m_services.defaults; }

    // --- Fields
    const QList<Account>& accounts() const { return m_accounts.list(); }
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
    /// How the window that `pendingCompose` asks for is to open.
    Opening pendingOpening() const { return m_pendingOpening; }
    /// The body of the open message.
    const std::optional<ParsedMessage>& openParsed() const { return m_openParsed; }
    /// The alert to show: the failure of what the user has asked for.
    const std::optional<QString>& errorMessage() const { return m_errorMessage; }
    /// The window in which it was asked for; null where that isn't known, or it is gone.
    QObject* errorAsker() const { return m_errorAsker; }
    /// Another one for each failure, also for one in the same words.
    quint64 errorNumber() const { return m_errorNumber; }
    /// The accounts whose last check for news failed, for whatever reason it was made. Those that need a new
    /// sign-in aren't among them.
    const QList<CheckResults::Failure>& failedChecks() const { return m_checks.failures(); }
    /// Accounts whose credential no longer works.
    const QSet<QUuid>& needsReauth() const { return m_accounts.needsReauth(); }
    QList<MailLabel> labels(const QUuid& accountID) const { return m_sidebar.labels(accountID); }
    /// The page on screen, from 0.
    int pageIndex() const { return m_paging.index; }
    bool hasNextPage() const { return m_paging.hasNext; }
    const std::optional<qint64>& total() const { return m_paging.total; }
    /// Unread counts of an account by `MailboxRef::id`.
    QHash<QString, qint64> counts(const QUuid& accountID) const { return m_sidebar.counts(accountID); }
    /// The search whose results are listed, or asked for; absent where all messages are.
    const std::optional<QString>& listedQuery() const { return m_listing.key().query; }
    /// Whether the rows, or that there are none, are what the service has said of the listing. Otherwise they
    /// wait for another one, or come from an earlier run of the program.
    bool isListingAnswered() const { return m_listing.isAnswered(); }
    /// What can be moved back for a while.
    const std::optional<UndoOffer>& undoOffer() const { return m_undo; }
    /// Whether the page is kept, so that it shows without the network.
    bool hasCachedPage(int page) const { return m_listing.hasPage(page); }
    const std::optional<LabelEdit>& labelEdit() const { return m_labelEdit; }
    const std::optional<LabelDeletion>& labelDeletion() const { return m_labelDeletion; }
    /// Whether a sign-in or a test of server settings is under way.
    bool isSigningIn() const { return m_signIns > 0; }
    /// The service that the user is signing in with in the browser; absent while none is.
    const std::optional<ProviderKind>& browserSignIn() const { return m_browserSignIn; }
    /// Accounts whose kept texts can't be read at present, and whose new ones can't be kept.
    QList<QUuid> accountsWithLockedTexts() const;
    /// Whether the account's removal is under way.
    bool isRemoving(const QUuid& accountID) const { return m_accounts.isLeaving(accountID); }
    /// The accent that was chosen when the program started: it is in force until the program ends.
    AccentChoice accentAtStart() const { return m_accentAtStart; }
    /// The account that the set-up window repairs; absent when it adds one.
    const std::optional<QUuid>& imapSetupAccountID() const { return m_imapSetupAccountID; }

    void setSearchText(const QString& text);
    void setSortOrder(const QList<SortComparator>& order);
    void setSelection(const QSet<QString>& selection);
    void setPath(const QList<QString>& path);
    void setOpenParsed(const std::optional<ParsedMessage>& message);
    void clearErrorMessage();
    void clearPendingCompose();
    void clearLabelEdit();
    void clearLabelDeletion();
    void setImapSetupAccountID(const std::optional<QUuid>& accountID);

    // --- Derived values
    std::optional<Account> selectedAccount() const;
    /// A row by its id: first among `messages`, then among the opened ones.
    std::optional<MessageSummary> message(const QString& id) const;
    /// What a command for messages acts on: the open message, or else the selected rows in the order of the
    /// page.
    QList<MessageSummary> actedOn() const;
    /// 25, 50 or 100.
    int pageSize() const;
    /// "26–50 of 60"; empty with no rows.
    QString pagerText() const;
    /// "Label" for a Google account, otherwise "Folder".
    QString labelNoun() const;
    static QString labelNoun(ProviderKind provider);
    /// What the launcher's badge says of the unread messages in all Inboxes: empty, the number, or "9999+".
    QString badgeText() const;

    // --- Accounts
    /// The account's provider, built on the first use; null where it can't be.
    std::shared_ptr<MailProvider> provider(const QUuid& accountID)
    {
        return m_accounts.session(accountID).provider;
    }
    /// The account's cache, built on the first use; null where it can't be.
    std::shared_ptr<MailCache> cache(const QUuid& accountID) { return m_accounts.cache(accountID); }
    /// Puts a provider in place of the one that would be built.
    void useProvider(const QUuid& accountID, const std::shared_ptr<MailProvider>& provider)
    {
        m_accounts.useProvider(accountID, provider);
    }
    void setNickname(const QUuid& accountID, const QString& text) { m_accounts.setNickname(accountID, text); }
    /// Moves the accounts at the offsets, in their order, before the one at `destination` (as counted before
    /// the move).
    void moveAccounts(const QList<int>& sources, int destination) { m_accounts.move(sources, destination); }
    /// The one gate through which failures of what the user has asked for reach them.
    void report(const std::exception_ptr& failure, const std::optional<QUuid>& accountID = std::nullopt,
                QObject* asker = nullptr);
    /// Names the window in which the user is, so that a failure shows where it was asked for.
    void setAskerSource(std::function<QObject*()> asker) { m_asker = std::move(asker); }

    // --- The mailbox on screen
    /// Shows another mailbox. The search in force stays.
    void select(const std::optional<SidebarItem>& item);
    /// Shows another mailbox of the selected account, or of the first one.
    void selectMailbox(const MailboxRef& ref);
    void resetPaging();
    Task<> load(int page, bool refresh);
    /// What the main window asks for when it appears: unlocks the keychain, which may ask the user and so is
    /// not waited for on this thread, then refreshes, and offers the texts that an earlier run left behind.
    Task<> begin();
    /// Checks all accounts for news, as the user asks for it: what the keyring refused before is asked for
    /// again.
    Task<> refresh();
    /// The same at the side of a failed check, which keeps telling of the failure.
    Task<> tryAgain();
    Task<> nextPage();
    Task<> previousPage();
    Task<> firstPage();
    Task<> lastPage();
    Task<> applySearch();
    /// Shows the messages from the row's sender.
    void search(const MessageSummary& sender);
    Task<> loadLabels(QUuid accountID) { return m_sidebar.loadLabels(accountID); }
    Task<> loadCounts(QUuid accountID);
    /// Starts the loop that checks for news every "refreshMinutes", in place of one that runs.
    void startRefreshLoop();

    // --- Messages
    // The rows of one action all belong to one account. They change at once; the server is told in a task,
    // and when it refuses, the rows go back and the failure is reported.

    /// Shows the message in the reader and marks it as read.
    void open(const MessageSummary& row);
    /// Marks all as read if any is unread, otherwise all as unread.
    void toggleRead(const QList<MessageSummary>& rows);
    /// Stars all if any isn't starred, otherwise takes the star from all.
    void toggleStarred(const QList<MessageSummary>& rows);
    // These take the rows off the list. Where they were selected, the row that takes their place is then, as
    // `setSuccessor` names it; and for `undoTime` they can be moved back, where the service can do so.
    void archive(const QList<MessageSummary>& rows);
    void trash(const QList<MessageSummary>& rows);
    void moveToInbox(const QList<MessageSummary>& rows);
    void reportSpam(const QList<MessageSummary>& rows);
    void move(const QList<MessageSummary>& rows, const MailboxRef& target);
    void setLabel(const QList<MessageSummary>& rows, const MailLabel& label, bool applied);
    /// Names the row to be selected in place of those that are being removed; to be called while `removing`
    /// is told.
    void setSuccessor(const QString& id) { m_successor = id; }
    /// Moves back what `undoOffer` offers.
    Task<> undo();
    /// Saves the message as it came to the file that the user chooses.
    Task<> saveMessage(MessageSummary row, SavePanel choose);

    // --- Labels and folders
    /// Opens the dialog for a new label: of the given account, else that of the first row, else the selected.
    void beginCreateLabel(const std::optional<QUuid>& accountID = std::nullopt,
                          const std::optional<MailLabel>& parent = std::nullopt,
                          const QList<MessageSummary>& applyTo = {});
    void beginRenameLabel(const MailLabel& label, const QUuid& accountID);
    void beginDeleteLabel(const MailLabel& label, const QUuid& accountID);
    Task<> applyLabelEdit(LabelEdit edit, QString name);
    Task<> confirmLabelDeletion(LabelDeletion deletion);

    // --- Writing
    /// The account that a new message is sent from.
    std::optional<Account> composeAccount() const;
    /// What goes below a new text: empty, or the signature set off by "-- ".
    QString signatureBlock() const;
    /// Opens a compose window to the addresses, which may be empty.
    void newMessage(const QString& to);
    /// Opens a compose window with what the URL asks for. Whether there is an account that can send it.
    bool newMessageFor(const MailtoURL& url);
    Task<> reply(const MessageSummary& row, bool all);
    Task<> forward(const MessageSummary& row);
    Task<> editDraft(const MessageSummary& row);
    /// Asks for the window of the draft through `pendingCompose`.
    void openCompose(const ComposeDraft& draft, Opening opening = Opening::asked);
    /// What the window with the id begins with; it stays until `closeCompose`.
    std::optional<ComposeDraft> takeSeed(const QUuid& id) const;
    /// The window with the id has closed, with its text sent, stored or thrown away on purpose.
    void closeCompose(const QUuid& id);
    /// The message that the draft stands for. For sending it needs a recipient, and addresses that are valid.
    /// Fails with `MailError`.
    OutgoingMessage outgoing(const ComposeDraft& draft, bool forSending);
    /// Fails towards the window, which stays open.
    Task<> send(ComposeDraft draft);
    /// Whether the last attempt of the draft lies in the Sent mailbox of its account. That it doesn't proves
    /// nothing; what can't be learned fails.
    Task<bool> wasSent(ComposeDraft draft);
    /// Fails towards the window, which stays open.
    Task<> saveDraft(ComposeDraft draft);
    /// Keeps a text that is being written, sealed, in case the process ends before its window is closed. The
    /// newest kept state of each window counts.
    void keepForRecovery(const ComposeDraft& draft);
    /// Ends when all that can be kept is on the disk.
    Task<> settleKeptTexts() { return m_texts->settle(); }
    /// Opens a window again for each text that was kept when the program last ended. Those that can't be read
    /// stay; a later call offers them.
    Task<> recoverDrafts();
    /// Whether the draft comes out of `recoverDrafts`: what it holds is stored nowhere else.
    bool isRecovered(const QUuid& draftID) const { return m_recoveredDrafts.contains(draftID); }

    // --- Account set-up
    /// Proves the settings, then adds the account or changes the one that is being repaired. Fails towards
    /// the form; with `cancelled`, and nothing stored, where `stop` is requested before the servers and the
    /// keyring have answered. `progress` hears which of the servers is asked.
    Task<> saveIMAPAccount(QString name, QString email, ServerSettings settings, QString password,
                           std::stop_token stop = {}, ConnectionTrial::Progress progress = {});
    /// Whether this build can sign in with the service in the browser.
    bool canSignIn(ProviderKind provider) const;
    /// Signs in with the service in the browser, and adds the account. One that is there already under the
    /// same address is signed in anew. Failures are reported; where nobody has asked for the end, by an
    /// alert. While a sign-in is under way no other begins: the user is shown the first one.
    Task<> signIn(ProviderKind provider);
    /// The user gives up what goes on in the browser: nothing is stored, and nothing reported.
    void cancelSignIn();
    /// Signs the account in anew: in the browser, or for a password account in the set-up window, which
    /// `openSetup` opens. The browser has to come back with the same address.
    void signInAgain(const Account& account, const std::function<void()>& openSetup);
    /// Removes the account with its credential, its cache and its key, and takes back a grant of Google's.
    Task<> removeAccount(QUuid accountID);
    /// Bytes held by the caches of all accounts.
    Task<qint64> cacheSize();
    /// Empties all caches. The services are asked anew then, which isn't waited for.
    Task<> clearCaches();

    /// Asks for the end of the program, and for its start anew. The user may still refuse, as with quitting.
    void restart() { Q_EMIT restartWanted(); }

    /// Runs a flow that nobody waits for; a failure of it goes to `report`, with an account only where that
    /// wasn't repaired or removed meanwhile.
    void start(Task<> flow, const std::optional<QUuid>& accountID = std::nullopt);

Q_SIGNALS:
    void accountsChanged();
    /// The account was removed, or leads to other servers: its messages are no longer those that were shown.
    void messagesForgotten(const QUuid& accountID);
    void sidebarSelectionChanged();
    void messagesChanged();
    void isLoadingChanged();
    void searchTextChanged();
    void sortOrderChanged();
    void selectionChanged();
    void pathChanged();
    /// The user changed the open message, which needn't be among `messages`.
    void openMessageChanged();
    void pendingComposeChanged();
    void openParsedChanged();
    /// Of `errorMessage` or `errorNumber`.
    void errorMessageChanged();
    void failedChecksChanged();
    void undoOfferChanged();
    /// Rows are about to leave the list, as the user wants it.
    void removing(const QSet<QString>& ids);
    void needsReauthChanged();
    void labelsChanged();
    void lockedTextsChanged();
    void listedQueryChanged();
    /// `pageIndex`, `hasNextPage` or `total`.
    void pagingChanged();
    void countsChanged();
    void labelEditChanged();
    void labelDeletionChanged();
    void signingInChanged();
    void browserSignInChanged();
    /// The user has asked for a sign-in while one goes on in the browser.
    void browserSignInWanted();
    void imapSetupAccountIDChanged();
    void restartWanted();

private:
    using Session = Accounts::Session;
    using LastAsker = std::shared_ptr<QPointer<QObject>>;
    using Edit = std::function<void(MessageSummary&)>;
    using Request = std::function<Task<>(MailProvider&, QList<QString>)>;
    /// Who asked for a listing.
    enum class Asked {
        byNobody, ///< the loop, a wake, a start, or what follows from a change
        byUser,
        asNews, ///< the user wants to know what is new
    };
    struct Paging {
        int index = 0;
        bool hasNext = false;
        std::optional<qint64> total;

        bool operator==(const Paging&) const = default;
    };
    /// A removal that the service is being told of.
    struct Removal {
        quint64 listing;        ///< on screen when it was made
        int page;               ///< likewise
        QSet<QString> selected; ///< which of its rows were selected
    };

    template <typename Value>
    void assign(Value& field, const Value& value, void (AppModel::*changed)())
    {
        if (field == value)
            return;
        field = value;
        Q_EMIT(this->*changed)();
    }

    void connectParts();
    /// Selects the mailbox that was on screen last, or else the first Inbox.
    void restoreMailbox();
    void keepMailbox();
    Session session(const QUuid& accountID);
    QObject* asker() const { return m_asker ? m_asker() : nullptr; }
    /// The words for a failure that is to be told; what is told otherwise, or by nothing, is dealt with.
    std::optional<QString> wordsFor(const std::exception_ptr& failure, const std::optional<QUuid>& accountID);
    /// Waits for a flow, and reports its failure where the account is still as the session found it.
    /// `lastAsker` takes the place of the session's asker where it is given: it may change meanwhile.
    Task<> reporting(Task<> flow, Session session, LastAsker lastAsker = nullptr);
    /// As `report`, where the account is still as the session found it.
    void reportTo(const Session& session, const std::exception_ptr& failure);

    std::optional<QString> query() const;
    /// What is listed for the item. A search that the user still types is listed once they ask for it.
    Listing::Key listingKey(const SidebarItem& item, Asked asked) const;
    /// Whether another listing has begun.
    bool beginListing(const Listing::Key& key);
    /// Tells of what the listing has become.
    void publish();
    void setLoading(bool isLoading);
    Task<> load(int page, bool refresh, Asked asked);
    /// Shows what an earlier run had of the mailbox, until the service answers.
    Task<> showKeptRows(Listing::Key key, quint64 listing);
    void keepRows(const Listing::Key& key, const MessagePage& page);
    /// A listing has failed: its account can't be checked, and the user is told as they asked for it.
    void noteFailedListing(const Session& session, const std::exception_ptr& failure, Asked asked);
    void noteFailedCheck(const QUuid& accountID, CheckResults::Of of, const std::exception_ptr& failure);
    /// As `select`.
    void show(const SidebarItem& item, Asked asked);
    /// As `refresh`, but asks the keyring for nothing.
    Task<> checkForNews(Asked asked);
    Task<> loadLabelsAndCounts(QUuid accountID);
    Task<> unlockAndCheck(Asked asked);
    void updateBadge();
    static Task<> refreshLoop(QPointer<AppModel> model, std::stop_token stop);

    /// Changes the rows at once and tells the server in a task.
    /// (The rows may be those of a field that changes.)
    void change(QList<MessageSummary> rows, const Edit& edit, const Request& request);
    /// What was listed last of an opened message is what is known of it once it is on another page.
    void followOpened();
    Task<> tellChange(Session session, QList<QString> ids, Request request, quint64 change);
    /// Takes the rows off the list at once and tells the server in a task.
    void removeRows(QList<MessageSummary> rows, const QString& done, const Request& request);
    Task<> tellRemoval(Session session, QList<QString> ids, QString done, Request request, quint64 change);
    /// Offers to move back what a removal has moved, if all of it can be.
    Task<> offerUndo(Session session, QList<QString> ids, QString done, quint64 change);
    void setUndoOffer(const std::optional<UndoOffer>& offer);
    /// What another provider moved can't be put back by the next one.
    void forgetUndo(const QUuid& accountID);
    /// Fills the page again from which rows have gone.
    Task<> reloadPage();
    /// The page that is on screen, or will be once the load under way has ended.
    int wantedPage() const;
    /// Selects the rows that have come back, as they were selected before.
    void restoreSelection(const QSet<QString>& ids);
    /// Selects those of the rows that are on screen.
    void selectRows(const QSet<QString>& selection);
    Task<> saveFetched(Session session, MessageSummary row, SavePanel choose);
    Task<> changeLabel(Session session, LabelEdit edit, QString name);
    Task<> createLabel(Session session, LabelEdit::Create create, QString name);
    Task<> renameLabel(Session session, MailLabel label, QString name);
    Task<> deleteLabel(Session session, MailLabel label);
    /// Passes on why labels weren't changed as a whole, and reads what has become of them.
    [[noreturn]] void rethrowOfLabels(const QUuid& accountID, const std::exception_ptr& failure);
    /// Shows the label that the one on screen has become, or the Inbox where it is gone.
    void followLabels(const QUuid& accountID, const QList<MailLabel>& before);
    /// Puts another mailbox in the place of the selected one, which it was before.
    void showInstead(const SidebarItem& item);

    Task<ParsedMessage> parsed(MessageSummary row);
    /// Writes a draft from a message, on a worker. The provider is null where it can't be.
    using Prepare = std::function<Task<ComposeDraft>(std::shared_ptr<MailProvider>, ParsedMessage)>;
    struct Written {
        enum class Kind { reply, replyToAll, forward, storedDraft };
        Kind kind;
        QUuid accountID;
        QString rowID;

        bool operator==(const Written&) const = default;
    };
    struct Preparation {
        Written written;
        LastAsker asker; ///< who waits for it
    };
    /// While the same is prepared already, this only changes who waits for it.
    Task<> prepare(Written::Kind kind, MessageSummary row, Prepare writing);
    Task<> openWritten(Preparation preparation, MessageSummary row, Prepare writing);
    /// Whether the user is still in the window in which they asked for something.
    bool isStillIn(const QPointer<QObject>& asker) const
    {
        return !m_asker || (asker && asker == this->asker());
    }
    Writing::Setting writingSetting(const QUuid& accountID) const;
    /// As `Account::mailboxIdentity`; empty where there is no such account.
    QByteArray mailbox(const QUuid& accountID) const;
    /// Opens the window of a text that an earlier run kept; one of an account that isn't known any more gets
    /// another.
    void offerAgain(ComposeDraft draft);
    /// The stored draft that the provider of the sending account is to replace.
    std::optional<QString> replacedDraft(const ComposeDraft& draft) const;
    /// The stored draft of a message that another account has sent or stored goes to the trash.
    void removeForeignDraft(const ComposeDraft& draft);
    /// Whether the mailbox is on screen.
    bool shows(const QUuid& accountID, Mailbox role) const;

    /// The account that the set-up form changes, or a new one.
    Account accountToChange(const std::optional<QUuid>& repaired, const QString& email) const;
    /// Nothing of the account's servers is shown any more.
    void forgetServers(const QUuid& accountID);
    /// Shows another account, if there is one, in place of one that is gone.
    void leaveAccount(const QUuid& accountID);
    void noteSignIn(int change);
    void setBrowserSignIn(const std::optional<ProviderKind>& provider);
    /// A sign-in in the browser from beginning to end; `renewed` is signed in anew where it is given.
    Task<> signInByBrowser(ProviderKind provider, std::optional<Account> renewed);
    Task<> storeSignedIn(ProviderKind provider, QUuid accountID, std::optional<Account> renewed,
                         std::stop_token stop);
    /// The account that a sign-in by this address renews, or the new one.
    Account accountToStore(const Account& signedIn, const std::optional<Account>& renewed) const;

    Services m_services;
    Accounts m_accounts;
    LabelsAndCounts m_sidebar;
    CheckResults m_checks;
    Listing m_listing;
    std::shared_ptr<KeptTexts> m_texts;

    AccentChoice m_accentAtStart;
    std::optional<SidebarItem> m_sidebarSelection;
    bool m_isMailboxRestored = false; ///< an earlier run had it on screen, and no list of labels has come yet
    QList<MessageSummary> m_messages; ///< the listing's rows, as the views were told of them last
    Paging m_paging;                  ///< likewise
    bool m_isLoading = false;
    QString m_searchText;
    QList<SortComparator> m_sortOrder{SortComparator{}};
    QSet<QString> m_selection;
    QSet<QString> m_restoredSelection; ///< what of it came back with refused removals
    QSet<QString> m_successors;        ///< what of it took the place of removed rows
    QString m_successor;
    std::optional<UndoOffer> m_undo;
    QTimer m_undoTimer;
    quint64 m_lastRemoval = 0;          ///< the newest, by the number of its change
    QHash<quint64, Removal> m_removals; ///< by the number of the change
    QList<QString> m_path;
    QHash<QString, MessageSummary> m_opened; ///< rows kept for what `path` holds
    std::optional<QUuid> m_pendingCompose;
    Opening m_pendingOpening = Opening::asked;
    QList<Preparation> m_prepared; ///< what is being prepared
    QHash<QUuid, ComposeDraft> m_composeSeeds;
    QSet<QUuid> m_recoveredDrafts;
    std::optional<LabelEdit> m_labelEdit;
    std::optional<LabelDeletion> m_labelDeletion;
    int m_signIns = 0; ///< how many are under way
    std::optional<ProviderKind> m_browserSignIn;
    std::stop_source m_browserStop;
    std::optional<QUuid> m_renewedAccount; ///< by the sign-in in the browser
    std::optional<QUuid> m_imapSetupAccountID;
    std::optional<ParsedMessage> m_openParsed;
    std::optional<QString> m_errorMessage;
    QPointer<QObject> m_errorAsker;
    quint64 m_errorNumber = 0;
    std::function<QObject*()> m_asker;
    std::stop_source m_refreshLoop;
    quint64 m_lastWish = 0; ///< counts what the user wanted to see
    std::shared_ptr<Coalescer> m_pageReloads;
    std::shared_ptr<Coalescer> m_refreshes; ///< after refused removals
};

} // namespace Larkhaven
