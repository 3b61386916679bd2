#include "model/KeptTextFiles.h"

#include "domain/Coding.h"
#include "domain/FileName.h"
#include "domain/LocalizedError.h"
#include "platform/AtomicFile.h"

#include <QCborArray>
#include <QCborMap>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::KeptTextFiles {

namespace {

constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

/// One state of a text on the disk.
struct State {
    QUuid draftID;
    QUuid accountID;
    quint64 number = 0;
    QString path;
};

QString folderOf(const QString& directory, const QUuid& accountID)
{
    return directory + u'/' + Coding::fromUuid(accountID);
}

/// The states in the folder of the account. Anything else in it, such as the remains of a write that was
/// killed, is passed over.
QList<State> statesOf(const QString& directory, const QUuid& accountID)
{
    static const QRegularExpression name(u"\\A([0-9A-F-]{36})\\.([0-9]{20})\\z"_s);
    QList<State> states;
    const QDir folder(folderOf(directory, accountID));
    const QStringList files = folder.entryList(QDir::Files | QDir::NoSymLinks);
    for (const QString& file : files) {
        const QRegularExpressionMatch match = name.match(file);
        if (match.hasMatch())
            states.append({QUuid(match.captured(1)), accountID, match.captured(2).toULongLong(),
                           folder.filePath(file)});
    }
    return states;
}

QList<State> allStates(const QString& directory)
{
    QList<State> states;
    const QStringList accounts = QDir(directory).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& account : accounts) {
        const QUuid accountID(account);
        if (!accountID.isNull())
            states += statesOf(directory, accountID);
    }
    return states;
}

QList<State> statesOfText(const QString& directory, const QUuid& draftID)
{
    QList<State> states = allStates(directory);
    states.removeIf([&draftID](const State& state) { return state.draftID != draftID; });
    return states;
}

void insert(QCborMap& map, QLatin1StringView key, const std::optional<QString>& value)
{
    if (value)
        map.insert(key, *value);
}

std::optional<QString> text(const QCborMap& map, QLatin1StringView key)
{
    const QCborValue value = map.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

QCborArray encoded(const QList<OutgoingAttachment>& attachments)
{
    QCborArray array;
    for (const OutgoingAttachment& attachment : attachments) {
        array.append(QCborMap{{u"filename"_s, attachment.filename},
                              {u"mimeType"_s, attachment.mimeType},
                              {u"data"_s, attachment.data}});
    }
    return array;
}

QList<OutgoingAttachment> decodedAttachments(const QCborArray& array)
{
    QList<OutgoingAttachment> attachments;
    for (const auto& value : array) {
        const QCborMap map = value.toMap();
        attachments.append({QUuid::createUuid(), FileName::shown(map.value("filename"_L1).toString()),
                            map.value("mimeType"_L1).toString(), map.value("data"_L1).toByteArray()});
    }
    return attachments;
}

/// All of a text. Its identity and its number are in it as well, so that no file can pass for another.
QByteArray encoded(const ComposeDraft& draft, quint64 number)
{
    QCborMap map{{u"id"_s, QCborValue(draft.id)},
                 {u"number"_s, static_cast<qint64>(number)},
                 {u"to"_s, draft.to},
                 {u"cc"_s, draft.cc},
                 {u"bcc"_s, draft.bcc},
                 {u"subject"_s, draft.subject},
                 {u"body"_s, draft.body},
                 {u"isRichText"_s, draft.isRichText},
                 {u"wasSending"_s, draft.wasSending},
                 {u"originAccountID"_s, QCborValue(draft.originAccountID)},
                 {u"originMailbox"_s, draft.originMailbox},
                 {u"notices"_s, QCborArray::fromStringList(draft.notices)},
                 {u"references"_s, QCborArray::fromStringList(draft.references)},
                 {u"attachments"_s, encoded(draft.attachments)}};
    insert(map, "inReplyTo"_L1, draft.inReplyTo);
    insert(map, "threadID"_L1, draft.threadID);
    insert(map, "draftMessageID"_L1, draft.draftMessageID);
    insert(map, "initialHTML"_L1, draft.initialHTML);
    if (draft.attempt)
        map.insert("attempt"_L1, QCborMap{{u"messageID"_s, draft.attempt->messageID},
                                          {u"accountID"_s, QCborValue(draft.attempt->accountID)},
                                          {u"content"_s, draft.attempt->content}});
    return map.toCborValue().toCbor();
}

std::optional<ComposeDraft> decoded(const QByteArray& bytes, const State& state)
{
    const QCborMap map = QCborValue::fromCbor(bytes).toMap();
    if (map.value("id"_L1).toUuid() != state.draftID ||
        map.value("number"_L1).toInteger() != static_cast<qint64>(state.number))
        return std::nullopt;
    ComposeDraft draft;
    draft.id = state.draftID;
    draft.accountID = state.accountID;
    draft.originAccountID = map.value("originAccountID"_L1).toUuid(state.accountID);
    draft.originMailbox = map.value("originMailbox"_L1).toByteArray();
    draft.to = map.value("to"_L1).toString();
    draft.cc = map.value("cc"_L1).toString();
    draft.bcc = map.value("bcc"_L1).toString();
    draft.subject = map.value("subject"_L1).toString();
    draft.body = map.value("body"_L1).toString();
    draft.isRichText = map.value("isRichText"_L1).toBool();
    draft.wasSending = map.value("wasSending"_L1).toBool();
    draft.inReplyTo = text(map, "inReplyTo"_L1);
    draft.threadID = text(map, "threadID"_L1);
    draft.draftMessageID = text(map, "draftMessageID"_L1);
    draft.initialHTML = text(map, "initialHTML"_L1);
    if (const QCborMap attempt = map.value("attempt"_L1).toMap(); !attempt.isEmpty())
        draft.attempt = ComposeDraft::Attempt{attempt.value("messageID"_L1).toString(),
                                              attempt.value("accountID"_L1).toUuid(),
                                              attempt.value("content"_L1).toByteArray()};
    const QCborArray references = map.value("references"_L1).toArray();
    for (const auto& reference : references)
        draft.references.append(reference.toString());
    const QCborArray notices = map.value("notices"_L1).toArray();
    for (const auto& notice : notices)
        draft.notices.append(notice.toString());
    draft.attachments = decodedAttachments(map.value("attachments"_L1).toArray());
    return draft;
}

std::optional<ComposeDraft> opened(const State& state, const AESGCMCipher& cipher)
{
    QFile file(state.path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    try {
        return decoded(cipher.open(file.readAll()), state);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

bool makeFolder(const QString& path)
{
    return QDir(path).exists() || (QDir().mkpath(path) && QFile::setPermissions(path, ownerOnly));
}

} // namespace

bool holdsTexts(const QString& directory, const QUuid& accountID)
{
    return !statesOf(directory, accountID).isEmpty();
}

bool write(const QString& directory, const ComposeDraft& draft, const AESGCMCipher& cipher)
{
    const QString folder = folderOf(directory, draft.accountID);
    if (!makeFolder(directory) || !makeFolder(folder))
        return false;
    const QList<State> older = statesOfText(directory, draft.id);
    quint64 number = 1;
    for (const State& state : older)
        number = std::max(number, state.number + 1);
    const QString path =
        u"%1/%2.%3"_s.arg(folder, Coding::fromUuid(draft.id)).arg(number, 20, 10, QLatin1Char('0'));
    try {
        if (!AtomicFile::write(path, cipher.seal(encoded(draft, number)), AtomicFile::Durability::synced))
            return false;
    } catch (const std::exception&) {
        return false;
    }
    for (const State& state : older)
        QFile::remove(state.path);
    return true;
}

void erase(const QString& directory, const QUuid& draftID)
{
    QList<State> states = statesOfText(directory, draftID);
    // From the oldest on: where the process ends in between, what is left is the newest.
    std::ranges::sort(states, {}, &State::number);
    for (const State& state : std::as_const(states))
        QFile::remove(state.path);
}

bool eraseAccount(const QString& directory, const QUuid& accountID, const QSet<QUuid>& spared)
{
    const QList<State> states = statesOf(directory, accountID);
    bool isEmpty = true;
    for (const State& state : states) {
        const bool isSpared = spared.contains(state.draftID);
        isEmpty = isEmpty && !isSpared;
        if (!isSpared)
            QFile::remove(state.path);
    }
    if (isEmpty)
        QDir(folderOf(directory, accountID)).removeRecursively();
    return isEmpty;
}

QList<QUuid> accounts(const QString& directory)
{
    QList<QUuid> found;
    const QList<State> states = allStates(directory);
    for (const State& state : states) {
        if (!found.contains(state.accountID))
            found.append(state.accountID);
    }
    return found;
}

Found read(const QString& directory, const QUuid& accountID, const AESGCMCipher& cipher)
{
    QHash<QUuid, quint64> newest;
    const QList<State> everywhere = allStates(directory);
    for (const State& state : everywhere)
        newest[state.draftID] = std::max(newest.value(state.draftID), state.number);

    struct Dated {
        QDateTime time;
        ComposeDraft draft;
    };
    QList<Dated> dated;
    Found found;
    QList<State> states = statesOf(directory, accountID);
    std::ranges::sort(states, std::greater(), &State::number);
    QSet<QUuid> done;
    QSet<QUuid> unreadable;
    for (const State& state : std::as_const(states)) {
        const bool isNewest = state.number == newest.value(state.draftID);
        // A newer state in another account's folder is the one that counts. An older one here counts only
        // where the newest can't be read.
        if (done.contains(state.draftID) || (!isNewest && !unreadable.contains(state.draftID)))
            continue;
        const std::optional<ComposeDraft> draft = opened(state, cipher);
        if (!draft) {
            unreadable.insert(state.draftID);
            continue;
        }
        done.insert(state.draftID);
        dated.append({QFileInfo(state.path).lastModified(), *draft});
    }
    std::ranges::stable_sort(dated, {}, &Dated::time);
    for (const Dated& text : std::as_const(dated))
        found.drafts.append(text.draft);
    found.hasUnreadable = !unreadable.subtract(done).isEmpty();
    return found;
}

} // namespace Larkhaven::KeptTextFiles
