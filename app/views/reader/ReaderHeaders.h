#pragma once

#include "format/MIMEHeaders.h"
#include "views/reader/AddressLabel.h"

#include <QDateTime>
#include <QWidget>

#include <optional>

class QGridLayout;
class QLabel;

namespace Larkhaven {

class FlatButton;

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

    bool operator==(const ShownHeaders&) const = default;
};

/// The headers of the message in the reader: its subject, then who, to whom and when, all of it selectable.
class ReaderHeaders : public QWidget {
    Q_OBJECT

public:
    explicit ReaderHeaders(QWidget* parent = nullptr);

    /// `fallbackDate` is shown where the headers have no date that can be read.
    void setHeaders(const ShownHeaders& headers, const std::optional<QDateTime>& fallbackDate);

Q_SIGNALS:
    void backRequested();

private:
    struct Row {
        QLabel* name;
        QLabel* value;
    };

    Row addRow(const QString& name, const QString& objectName);
    void setAddresses(const Row& row, const ShownAddresses& addresses, const QString& placeholder);

    FlatButton* m_back;
    QLabel* m_subject;
    QGridLayout* m_grid;
    Row m_from;
    Row m_to;
    Row m_cc;
    Row m_date;
};

} // namespace Larkhaven
