#include "providers/RowBoxes.h"

#include "domain/Coding.h"
#include "providers/PackedBytes.h"

using namespace Qt::StringLiterals;

namespace Larkhaven::RowRecords {

namespace {

/// What a record tells, one after the other. Each is followed by what its line says; those of rows and notes
/// are about the box that was named last.
enum class Step : quint8 {
    makeBox = 1, ///< name, note: an empty box, in the place of any of this name
    inBox,       ///< name
    dropBox,     ///< name
    setNote,     ///< note
    putRow,      ///< key, content, state
    setState,    ///< key, state
    dropRow,     ///< key
};

void require(bool isSound)
{
    if (!isSound)
        throw Coding::unreadable("record"_L1);
}

void begin(PackedWriter& writer, Step step)
{
    writer.byte(static_cast<quint8>(step));
}

void putRow(PackedWriter& writer, const QByteArray& key, const PackedRow& row)
{
    begin(writer, Step::putRow);
    writer.bytes(key);
    writer.bytes(row.content);
    writer.bytes(row.state);
}

void makeBox(PackedWriter& writer, const QString& name, const RowBox& box)
{
    begin(writer, Step::makeBox);
    writer.text(name);
    writer.bytes(box.note);
    for (auto row = box.rows.cbegin(); row != box.rows.cend(); ++row)
        putRow(writer, row.key(), *row);
}

} // namespace

QByteArray whole(const RowBoxes& boxes)
{
    // More than the numbers of any row take.
    constexpr qsizetype rowOverhead = 16;
    qsizetype size = 0;
    for (auto box = boxes.cbegin(); box != boxes.cend(); ++box) {
        for (auto row = box->rows.cbegin(); row != box->rows.cend(); ++row)
            size += row.key().size() + row->content.size() + row->state.size() + rowOverhead;
    }
    PackedWriter writer;
    writer.reserve(size);
    for (auto box = boxes.cbegin(); box != boxes.cend(); ++box)
        makeBox(writer, box.key(), *box);
    return writer.result();
}

void apply(RowBoxes& boxes, QByteArrayView record)
{
    PackedReader reader(record);
    RowBox* box = nullptr;
    const auto named = [&box] {
        require(box != nullptr);
        return box;
    };
    while (!reader.atEnd()) {
        switch (static_cast<Step>(reader.byte())) {
        case Step::makeBox: {
            const QString name = reader.text();
            box = &*boxes.insert(name, {reader.bytes().toByteArray(), {}});
            break;
        }
        case Step::inBox: {
            const auto found = boxes.find(reader.text());
            box = found == boxes.end() ? nullptr : &*found;
            break;
        }
        case Step::dropBox:
            // It may have come and gone since the last record.
            boxes.remove(reader.text());
            box = nullptr;
            break;
        case Step::setNote:
            named()->note = reader.bytes().toByteArray();
            break;
        case Step::putRow: {
            PackedRow& row = named()->rows[reader.bytes().toByteArray()];
            row.content = reader.bytes().toByteArray();
            row.state = reader.bytes().toByteArray();
            require(row.isWhole());
            break;
        }
        case Step::setState: {
            const auto row = named()->rows.find(reader.bytes().toByteArray());
            require(row != named()->rows.end());
            row->state = reader.bytes().toByteArray();
            require(row->isWhole());
            break;
        }
        case Step::dropRow:
            named()->rows.remove(reader.bytes().toByteArray());
            break;
        default:
            require(false);
        }
    }
}

void Changes::boxMade(const QString& box)
{
    m_boxes[box] = {};
    m_boxes[box].isMade = true;
}

void Changes::boxGone(const QString& box)
{
    m_boxes[box] = {};
    m_boxes[box].isGone = true;
}

void Changes::rowChanged(const QString& box, const QByteArray& key)
{
    Box& changed = m_boxes[box];
    if (!changed.isMade)
        changed.rows.insert(key);
}

void Changes::stateChanged(const QString& box, const QByteArray& key)
{
    Box& changed = m_boxes[box];
    if (!changed.isMade)
        changed.states.insert(key);
}

QByteArray Changes::record(const RowBoxes& boxes) const
{
    PackedWriter writer;
    for (auto changed = m_boxes.cbegin(); changed != m_boxes.cend(); ++changed) {
        const auto box = boxes.constFind(changed.key());
        if (changed->isMade && box != boxes.cend()) {
            makeBox(writer, changed.key(), *box);
            continue;
        }
        begin(writer, changed->isGone ? Step::dropBox : Step::inBox);
        writer.text(changed.key());
        if (changed->isNoteChanged) {
            begin(writer, Step::setNote);
            writer.bytes(box->note);
        }
        for (const QByteArray& key : changed->rows) {
            const auto row = box->rows.constFind(key);
            if (row != box->rows.cend()) {
                putRow(writer, key, *row);
                continue;
            }
            begin(writer, Step::dropRow);
            writer.bytes(key);
        }
        for (const QByteArray& key : changed->states) {
            const auto row = box->rows.constFind(key);
            if (changed->rows.contains(key) || row == box->rows.cend())
                continue;
            begin(writer, Step::setState);
            writer.bytes(key);
            writer.bytes(row->state);
        }
    }
    return writer.result();
}

} // namespace Larkhaven::RowRecords
