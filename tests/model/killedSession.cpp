// A session of writing that is made to be killed: it goes on from what the last one left, and says on its
// output, line by line, what is on the disk for certain.
//
// usage: killedSession FOLDER SEED [recover]
//
//   offered ID VERSION   a text has come back
//   recovered            all that could be read has come back
//   typed ID VERSION     the text is about to be handed over for keeping
//   durable ID VERSION   it is on the disk
//   closing ID           its window is about to close
//   closed ID            it is gone from the disk

#include "model/AccountStore.h"
#include "model/AppModel.h"
#include "support/Await.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QThread>

#include <cstdio>
#include <mutex>
#include <random>

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

/// A keyring of files that is slow, and sometimes refuses.
class FileKeychain final : public KeychainBackend {
public:
    FileKeychain(QString folder, unsigned seed)
        : m_folder(std::move(folder))
        , m_random(seed)
        , m_refusals(static_cast<int>(m_random() % 4 == 0 ? m_random() % 4 : 0))
    {
        QDir().mkpath(m_folder);
    }

    ReadResult read(const QString& service, const QString& account) override
    {
        hesitate();
        if (refuses())
            return {KeychainStatus::interactionNotAllowed, std::nullopt};
        QFile file(path(service, account));
        if (!file.open(QIODevice::ReadOnly))
            return {KeychainStatus::itemNotFound, std::nullopt};
        return {KeychainStatus::success, file.readAll()};
    }
    KeychainStatus update(const QString& service, const QString& account, const QByteArray& data) override
    {
        return QFile::exists(path(service, account)) ? add(service, account, data, {})
                                                     : KeychainStatus::itemNotFound;
    }
    KeychainStatus add(const QString& service, const QString& account, const QByteArray& data,
                       const QString&) override
    {
        hesitate();
        if (refuses())
            return KeychainStatus::failed;
        QSaveFile file(path(service, account));
        const bool isStored =
            file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit();
        return isStored ? KeychainStatus::success : KeychainStatus::failed;
    }
    KeychainStatus remove(const QString& service, const QString& account) override
    {
        return QFile::remove(path(service, account)) ? KeychainStatus::success : KeychainStatus::itemNotFound;
    }

private:
    QString path(const QString& service, const QString& account) const
    {
        const QByteArray name = (service + u'\n' + account).toUtf8();
        return m_folder + u'/' +
               QString::fromLatin1(QCryptographicHash::hash(name, QCryptographicHash::Sha256).toHex());
    }
    void hesitate()
    {
        unsigned pause = 0;
        {
            const std::scoped_lock lock(m_lock);
            pause = static_cast<unsigned>(m_random() % 20);
        }
        QThread::msleep(pause);
    }
    bool refuses()
    {
        const std::scoped_lock lock(m_lock);
        return m_refusals-- > 0;
    }

    const QString m_folder;
    std::mutex m_lock;
    std::mt19937 m_random;
    int m_refusals; ///< how many calls are refused from the start on
};

void say(const char* what, const QString& text = {})
{
    const QByteArray line = QByteArray(what) + (text.isEmpty() ? "" : " ") + text.toLatin1() + '\n';
    // What was said must be out before the next thing is done.
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
    std::fflush(stdout);
}

QString nameOf(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces);
}

class Session {
public:
    Session(const QString& folder, unsigned seed)
        : m_random(seed)
    {
        AppModel::Services services;
        services.defaults = std::make_shared<UserDefaults>(folder + u"/settings.ini"_s);
        services.secrets = std::make_shared<InMemorySecretStore>();
        const QList<std::shared_ptr<KeychainBackend>> keyring{
            std::make_shared<FileKeychain>(folder + u"/keyring"_s, seed)};
        services.cacheKeys = std::make_shared<KeychainStore>(u"cache-keys"_s, keyring);
        services.textKeys = std::make_shared<KeychainStore>(u"text-keys"_s, keyring);
        services.keptTextsDirectory = folder + u"/texts"_s;
        services.sleep = [](std::chrono::milliseconds, std::stop_token) -> Task<bool> { co_return false; };
        services.showBadge = [](qint64) {};
        services.defaults->set(DefaultsKey::refreshMinutes, 0);
        QList<Account> accounts;
        for (const QString& email : {u"a@example.org"_s, u"b@example.org"_s}) {
            Account account;
            account.id = QUuid::createUuidV5(QUuid(), email);
            account.provider = ProviderKind::google;
            account.email = email;
            accounts.append(account);
        }
        AccountStore::save(accounts, *services.defaults);
        m_model = std::make_unique<AppModel>(services);
        QObject::connect(m_model.get(), &AppModel::pendingComposeChanged, [this] { takeOffered(); });
    }

    void recover()
    {
        // The user asks again until the keyring answers.
        for (int round = 0; round < 10; ++round) {
            await(m_model->recoverDrafts());
            if (m_model->accountsWithLockedTexts().isEmpty())
                break;
        }
        if (m_model->accountsWithLockedTexts().isEmpty())
            say("recovered");
    }

    void write()
    {
        for (;;) {
            const unsigned choice = static_cast<unsigned>(m_random() % 10);
            if (m_windows.size() < 3) {
                open();
            } else if (choice < 6) {
                type(any());
            } else if (choice < 8) {
                ComposeDraft& draft = any();
                draft.accountID = m_model->accounts()[static_cast<qsizetype>(m_random() % 2)].id;
                type(draft);
            } else {
                close(any().id);
            }
            if (m_random() % 3 == 0)
                settle();
        }
    }

private:
    static int versionOf(const ComposeDraft& draft) { return draft.body.toInt(); }

    void takeOffered()
    {
        if (!m_model->pendingCompose())
            return;
        const ComposeDraft draft = *m_model->takeSeed(*m_model->pendingCompose());
        m_model->clearPendingCompose();
        const int version = versionOf(draft);
        bool isWhole = draft.attachments.size() == version % 3;
        for (const OutgoingAttachment& attachment : draft.attachments)
            isWhole = isWhole && attachment.data == QByteArray(1'000 * version, 'x');
        say(isWhole ? "offered" : "damaged", nameOf(draft.id) + u' ' + draft.body);
        m_windows.append(draft);
    }
    ComposeDraft& any() { return m_windows[static_cast<qsizetype>(m_random() % m_windows.size())]; }
    void open()
    {
        ComposeDraft draft;
        draft.id = QUuid::createUuid();
        draft.accountID = m_model->accounts().first().id;
        draft.body = u"0"_s;
        m_windows.append(draft);
        type(m_windows.last());
    }
    void type(ComposeDraft& draft)
    {
        const int version = versionOf(draft) + 1;
        draft.body = QString::number(version);
        draft.attachments.clear();
        for (int index = 0; index < version % 3; ++index)
            draft.attachments.append(
                {QUuid::createUuid(), u"a"_s, u"text/plain"_s, QByteArray(1'000 * version, 'x')});
        say("typed", nameOf(draft.id) + u' ' + draft.body);
        m_model->keepForRecovery(draft);
    }
    void close(QUuid id)
    {
        say("closing", nameOf(id));
        m_windows.removeIf([&id](const ComposeDraft& draft) { return draft.id == id; });
        m_model->closeCompose(id);
        await(m_model->settleKeptTexts());
        say("closed", nameOf(id));
    }
    void settle()
    {
        await(m_model->settleKeptTexts());
        if (!m_model->accountsWithLockedTexts().isEmpty())
            return;
        for (const ComposeDraft& draft : std::as_const(m_windows))
            say("durable", nameOf(draft.id) + u' ' + draft.body);
    }

    std::mt19937 m_random;
    std::unique_ptr<AppModel> m_model;
    QList<ComposeDraft> m_windows;
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    Session session(arguments.at(1), arguments.at(2).toUInt());
    session.recover();
    if (arguments.value(3) != "recover"_L1)
        session.write();
    return 0;
}
