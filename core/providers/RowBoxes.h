#pragma once

#include "providers/PackedRow.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>

#include <optional>

namespace Larkhaven {

/// Rows by their keys, such as the messages of a mailbox by their UIDs.
struct RowBox {
    QByteArray note; ///< what holds for all of them, such as the UIDVALIDITY
    QHash<QByteArray, PackedRow> rows;

    bool operator==(const RowBox&) const = default;
};

/// Boxes by their names.
using RowBoxes = QHash<QString, RowBox>;

/// The stored form of boxes: a record holds them all, and each further one what has changed since. Pure
/// functions and values, for any thread.
namespace RowRecords {

/// A record that makes these boxes of none.
QByteArray whole(const RowBoxes& boxes);

/// Carries out a record. Fails with `DecodingError` where it isn't one, and then the boxes are of no use.
void apply(RowBoxes& boxes, QByteArrayView record);

/// What has changed in boxes since the last record of them.
class Changes {
public:
    bool isEmpty() const { return m_boxes.isEmpty(); }
    /// The box was made, or made anew with other rows.
    void boxMade(const QString& box);
    /// The box is gone, or was renamed away.
    void boxGone(const QString& box);
    void noteChanged(const QString& box) { m_boxes[box].isNoteChanged = true; }
    /// The row was put into the box, or taken out of it.
    void rowChanged(const QString& box, const QByteArray& key);
    /// The same, of its state alone.
    void stateChanged(const QString& box, const QByteArray& key);

    /// The record of the changes, by what the boxes are now.
    QByteArray record(const RowBoxes& boxes) const;

private:
    struct Box {
        bool isMade = false;
        bool isGone = false;
        bool isNoteChanged = false;
        QSet<QByteArray> rows;
        QSet<QByteArray> states;
    };
    QHash<QString, Box> m_boxes;
};

} // namespace RowRecords

} // namespace Larkhaven
