#pragma once

#include "format/MIMEHeaders.h"
#include "views/reader/AddressLabel.h"
#include "views/reader/SenderLine.h"

#include <QDateTime>
#include <QWidget>

#include <optional>

class QBoxLayout;
class QGridLayout;
class QLabel;

namespace Larkhaven {

class FlatButton;
class SubjectLabel;

/// What the block shows of the headers of a message. Bounded, but for what Copy takes of the addresses.
struct ShownHeaders {
    QString subject; ///< decoded, as `DisplayText` gives it; empty for none
    ShownAddresses from;
    ShownAddresses to;
    ShownAddresses cc;
    std::optional<QDateTime> date; ///< in UTC; absent where there is none that can be read

    /// Pure, from any thread. Linear: an untrusted sender may write 18 MB of them, so it is work for a
    /// worker.
    static ShownHeaders read(const MIMEHeaders& headers);
    /// What a row of the list knows of them, bounded: of more receivers than are shown, Copy takes these
    /// alone.
    static ShownHeaders of(const MessageSummary& row);

    bool operator==(const ShownHeaders&) const = default;
};

/// The headers of the message in the reader: its subject and date, then who and to whom, all of it
/// selectable. The date stands at the right of the first line; in a narrow block it is a row of its own.
class ReaderHeaders : public QWidget {
    Q_OBJECT

public:
    /// What stands beside the subject.
    struct Marks {
        bool isStarred = false;
        bool hasAttachments = false;
        qsizetype attachments = 0; ///< how many; 0 while that isn't known

        bool operator==(const Marks&) const = default;
    };

    explicit ReaderHeaders(QWidget* parent = nullptr);

    /// Whom the message is from, in place of what its headers say.
    void setSender(const ShownSender& shown);
    /// `fallbackDate` is shown where the headers have no date that can be read.
    void setHeaders(const ShownHeaders& headers, const std::optional<QDateTime>& fallbackDate);
    void setMarks(const Marks& marks);

Q_SIGNALS:
    void backRequested();

protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Row {
        QLabel* name;
        QLabel* value;
    };

    /// `around` is what the value stands in, if it isn't the row's own.
    Row addRow(const QString& name, QLabel* value, const QString& objectName, QWidget* around = nullptr);
    void setAddresses(const Row& row, const ShownAddresses& addresses, const QString& placeholder);
    void setDate(const std::optional<QDateTime>& date);
    void placeDate();
    void showMarks();
    void measure();

    FlatButton* m_back;
    SubjectLabel* m_subject;
    QLabel* m_star;
    QLabel* m_clip;
    QLabel* m_count; ///< of the attachments
    SenderLine* m_sender;
    QLabel* m_notice; ///< on the sender
    QBoxLayout* m_titleLine;
    QGridLayout* m_grid;
    Row m_from;
    Row m_to;
    Row m_cc;
    Row m_date;
    int m_dateRow = 0;
    bool m_hasDate = false;
    bool m_isDateBeside = false; ///< the subject, in the first line
    Marks m_marks;
};

} // namespace Larkhaven
