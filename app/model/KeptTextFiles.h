#pragma once

#include "model/ComposeDraft.h"
#include "store/AESGCMCipher.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QUuid>

namespace Larkhaven::KeptTextFiles {

/// The file work of `KeptTexts`: pure functions over a folder, for one thread at a time and one process.

/// Whether any text of the account lies there.
bool holdsTexts(const QString& directory, const QUuid& accountID);
/// Writes the state under the next number, and erases the older ones of the same text after that. False where
/// it can't be written; the older ones stay then.
bool write(const QString& directory, const ComposeDraft& draft, const AESGCMCipher& cipher);
/// Erases every state of the text.
void erase(const QString& directory, const QUuid& draftID);
/// Erases the account's texts other than `spared`. True where none of any kind is left.
bool eraseAccount(const QString& directory, const QUuid& accountID, const QSet<QUuid>& spared);
/// Those of which texts lie there.
QList<QUuid> accounts(const QString& directory);

struct Found {
    QList<ComposeDraft> drafts; ///< in the order in which they were kept last
    bool hasUnreadable = false; ///< there are texts that the cipher doesn't open; they stay
};
/// The texts whose newest state lies in the account's folder.
Found read(const QString& directory, const QUuid& accountID, const AESGCMCipher& cipher);

} // namespace Larkhaven::KeptTextFiles
