#include "Paired.h"
#include "platform/RandomBytes.h"
#include "providers/RowBoxes.h"
#include "store/AESGCMCipher.h"
#include "store/MailCache.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QUuid>

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <memory>
#include <openssl/evp.h>
#include <unistd.h>

// What is kept on disk, beside the bare work of OpenSSL, the file system and Qt's JSON.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {
namespace {

// --- Boxes

struct FreeContext {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::shared_ptr<EVP_CIPHER_CTX>;

const unsigned char* bytesOf(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

/// The nonce, the text and the tag, under a key that the context has already.
QByteArray sealedByEVP(EVP_CIPHER_CTX* context, const QByteArray& text)
{
    QByteArray box(AESGCMCipher::nonceSize + text.size() + AESGCMCipher::tagSize, Qt::Uninitialized);
    auto* const out = reinterpret_cast<unsigned char*>(box.data());
    const QByteArray nonce = randomBytes(AESGCMCipher::nonceSize).value();
    std::copy(nonce.begin(), nonce.end(), box.begin());
    int length = 0;
    EVP_EncryptInit_ex(context, nullptr, nullptr, nullptr, bytesOf(nonce));
    EVP_EncryptUpdate(context, out + AESGCMCipher::nonceSize, &length, bytesOf(text),
                      static_cast<int>(text.size()));
    EVP_EncryptFinal_ex(context, out + AESGCMCipher::nonceSize + length, &length);
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, AESGCMCipher::tagSize,
                        out + AESGCMCipher::nonceSize + text.size());
    return box;
}

QByteArray openedByEVP(EVP_CIPHER_CTX* context, const QByteArray& box)
{
    const qsizetype size = box.size() - AESGCMCipher::nonceSize - AESGCMCipher::tagSize;
    QByteArray text(size, Qt::Uninitialized);
    QByteArray tag = box.last(AESGCMCipher::tagSize);
    int length = 0;
    EVP_DecryptInit_ex(context, nullptr, nullptr, nullptr, bytesOf(box));
    EVP_DecryptUpdate(context, reinterpret_cast<unsigned char*>(text.data()), &length,
                      bytesOf(box) + AESGCMCipher::nonceSize, static_cast<int>(size));
    EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_TAG, AESGCMCipher::tagSize, tag.data());
    return EVP_DecryptFinal_ex(context, nullptr, &length) == 1 ? text : QByteArray();
}

Context contextFor(const QByteArray& key, bool seals)
{
    const Context context(EVP_CIPHER_CTX_new(), FreeContext());
    if (seals)
        EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, bytesOf(key), nullptr);
    else
        EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, bytesOf(key), nullptr);
    return context;
}

std::vector<Case> cipherCases()
{
    std::vector<Case> cases;
    for (const auto& [name, size, goal] :
         {std::tuple("64 KiB", 65'536, 0.95), std::tuple("1 KiB", 1024, 0.8)}) {
        const QByteArray key(AESGCMCipher::keySize, 'k');
        const QByteArray text(size, 't');
        const auto cipher = std::make_shared<AESGCMCipher>(key);
        const QByteArray box = cipher->seal(text);
        const Context seals = contextFor(key, true);
        const Context opens = contextFor(key, false);
        cases.push_back(
            {std::string(name) + " sealed", "EVP, one context", goal,
             [cipher, text] { return static_cast<std::uint64_t>(cipher->seal(text).size()); },
             [seals, text] { return static_cast<std::uint64_t>(sealedByEVP(seals.get(), text).size()); }});
        cases.push_back(
            {std::string(name) + " opened", "EVP, one context", goal,
             [cipher, box] { return static_cast<std::uint64_t>(cipher->open(box).size()); },
             [opens, box] { return static_cast<std::uint64_t>(openedByEVP(opens.get(), box).size()); }});
    }
    return cases;
}

// --- Files

constexpr int files = 100;
constexpr qsizetype messageSize = 60'000;

/// A box under a name of its own in the place of the file. Whether it stands there.
bool writeAndRename(const QByteArray& box, const QByteArray& place)
{
    const QByteArray beside = place + '~';
    const int descriptor = ::open(beside.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const auto size = static_cast<size_t>(box.size());
    const bool isWritten = ::write(descriptor, box.constData(), size) == static_cast<ssize_t>(size);
    ::close(descriptor);
    return isWritten && ::rename(beside.constData(), place.constData()) == 0;
}

/// Both write as many files of the same sizes under new names: ext4 searches long for the number of a file
/// where others were removed or replaced within five seconds, and the longer the more there were of both.
Case writingCase(const QString& folder)
{
    const auto cipher = std::make_shared<AESGCMCipher>(QByteArray(AESGCMCipher::keySize, 'k'));
    const auto cache = std::make_shared<MailCache>(folder + u"/cache"_s, cipher, 1'000'000'000);
    const QByteArray message(messageSize, 'm');
    const QString plain = folder + u"/plain"_s;
    QDir().mkpath(plain);
    const auto number = std::make_shared<int>(0);
    return {"100 messages of 60 kB cached", "sealed, written and renamed", 0.9,
            [cache, message, number] {
                for (int file = 0; file < files; ++file)
                    QCoro::waitFor(cache->write(QString::number(++*number), message));
                return static_cast<std::uint64_t>(files);
            },
            [plain, cipher, message, number] {
                std::uint64_t written = 0;
                for (int file = 0; file < files; ++file) {
                    const QByteArray place = QFile::encodeName(plain + u'/' + QString::number(++*number));
                    written += writeAndRename(cipher->seal(message), place) ? 1 : 0;
                }
                return written;
            }};
}

constexpr int evictedFrom = 1000;
constexpr qsizetype boxSize = AESGCMCipher::nonceSize + messageSize + AESGCMCipher::tagSize;

/// Files in a folder, as a cache holds them that is about to pass its limit.
class Filled {
public:
    explicit Filled(const QString& folder)
        : m_folder(folder)
    {
        QDir().mkpath(m_folder);
    }

    /// Puts the files there, the first of them the oldest.
    void fill() const
    {
        const QByteArray box(boxSize, 'b');
        for (int number = 0; number < evictedFrom; ++number) {
            QFile file(place(number));
            if (file.open(QIODevice::WriteOnly))
                file.write(box);
        }
    }
    QString place(int number) const { return m_folder + u'/' + QString::number(number); }
    std::uint64_t count() const
    {
        const std::filesystem::directory_iterator found(QFile::encodeName(m_folder).toStdString());
        return static_cast<std::uint64_t>(std::distance(begin(found), end(found)));
    }

private:
    const QString m_folder;
};

/// Ours finds out by itself which files are to go, and both end with as many. One file more passes the limit;
/// the peer writes it as well.
Case evictionCase(const QString& folder)
{
    const auto cipher = std::make_shared<AESGCMCipher>(QByteArray(AESGCMCipher::keySize, 'k'));
    const qint64 limit = evictedFrom * boxSize;
    const int evicted = evictedFrom + 1 - evictedFrom * 8 / 10;
    const auto ours = std::make_shared<Filled>(folder + u"/evicting/messages"_s);
    const auto theirs = std::make_shared<Filled>(folder + u"/unlinking"_s);
    const auto cache = std::make_shared<std::unique_ptr<MailCache>>();
    const QByteArray message(messageSize, 'm');
    return {"200 messages of 60 kB evicted from 1,000",
            "written, and bare unlink",
            0.83,
            [ours, cache, message] {
                QCoro::waitFor((*cache)->write(u"one more"_s, message));
                return ours->count();
            },
            [theirs, cipher, message] {
                QFile more(theirs->place(evictedFrom));
                if (more.open(QIODevice::WriteOnly))
                    more.write(cipher->seal(message));
                more.close();
                for (int number = 0; number < evicted; ++number)
                    ::unlink(QFile::encodeName(theirs->place(number)).constData());
                return theirs->count();
            },
            [ours, theirs, cache, cipher, folder, limit] {
                ours->fill();
                theirs->fill();
                *cache = std::make_unique<MailCache>(folder + u"/evicting"_s, cipher, limit);
                // As in a program that has written before.
                QCoro::waitFor((*cache)->usedBytes());
            }};
}

// --- Rows

constexpr int rowCount = 20'000;

MessageSummary summary(int number)
{
    MessageSummary row;
    row.id = QString::number(number);
    row.from =
        EmailAddress{u"Jörg Example %1"_s.arg(number % 200), u"joerg%1@mail.example"_s.arg(number % 200)};
    row.to = {EmailAddress{u"Ann"_s, u"ann@example.org"_s}, EmailAddress{{}, u"bob@example.org"_s}};
    row.subject = u"Re: Grüße aus Köln, wo es seit %1 Tagen regnet"_s.arg(number);
    row.date = QDateTime::fromMSecsSinceEpoch(1'770'000'000'000 + number * 60'000LL, Qt::UTC);
    row.isRead = number % 3 != 0;
    row.isStarred = number % 50 == 0;
    row.size = 4000 + number;
    row.mailbox = u"INBOX"_s;
    return row;
}

std::vector<Case> rowCases()
{
    RowBoxes boxes;
    QJsonObject messages;
    for (int number = 1; number <= rowCount; ++number) {
        const MessageSummary row = summary(number);
        boxes[u"INBOX"_s].rows.insert(QByteArray::number(number), PackedRow::of(row));
        messages.insert(row.id, row.toJSON());
    }
    const QJsonDocument document(QJsonObject{{u"INBOX"_s, QJsonObject{{u"messages"_s, messages}}}});
    const QByteArray json = document.toJson(QJsonDocument::Compact);
    const QByteArray record = RowRecords::whole(boxes);
    const auto theirs = [json] {
        const QJsonObject read = QJsonDocument::fromJson(json).object();
        return static_cast<std::uint64_t>(read[u"INBOX"_s].toObject()[u"messages"_s].toObject().size());
    };
    std::vector<Case> cases;
    cases.push_back({"20,000 rows read", "Qt's JSON document", 8,
                     [record] {
                         RowBoxes read;
                         RowRecords::apply(read, record);
                         return static_cast<std::uint64_t>(read[u"INBOX"_s].rows.size());
                     },
                     theirs});
    cases.push_back({"20,000 rows read, each unpacked", "Qt's JSON document, none unpacked", 1,
                     [record] {
                         RowBoxes read;
                         RowRecords::apply(read, record);
                         std::uint64_t count = 0;
                         const RowBox& box = read[u"INBOX"_s];
                         for (auto row = box.rows.cbegin(); row != box.rows.cend(); ++row)
                             count += row->summary(u"1"_s, {}).subject.isEmpty() ? 0 : 1;
                         return count;
                     },
                     theirs});
    cases.push_back(
        {"20,000 rows written", "Qt's JSON document", 10,
         [boxes] { return std::uint64_t{RowRecords::whole(boxes).isEmpty() ? 0U : 1U}; },
         [document] { return std::uint64_t{document.toJson(QJsonDocument::Compact).isEmpty() ? 0U : 1U}; }});
    return cases;
}

} // namespace
} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven::Bench;
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    std::vector<Case> cases = cipherCases();
    cases.push_back(writingCase(folder.path()));
    cases.push_back(evictionCase(folder.path()));
    const std::vector<Case> rows = rowCases();
    cases.insert(cases.end(), rows.begin(), rows.end());
    return compare(argc, argv, cases);
}
