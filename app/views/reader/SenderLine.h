#pragma once

#include "domain/Message.h"
#include "format/MIMEHeaders.h"
#include "views/reader/AddressLabel.h"

#include <QString>
#include <QWidget>

namespace Larkhaven {

/// What the reader shows of whom a message is from, and whether that can be believed. Bounded.
struct ShownSender {
    ShownAddresses names;     ///< in place of a name that is missing and can't be trusted, the address
    ShownAddresses addresses; ///< to stand behind them; empty where the names say it all
    QString warning;          ///< empty where there is nothing to warn of

    /// Pure, from any thread. Linear in the headers.
    static ShownSender read(const MIMEHeaders& headers);
    /// What a row of the list knows of it.
    static ShownSender of(const MessageSummary& row);

    bool operator==(const ShownSender&) const = default;
};

/// The names of the senders with their addresses behind them, in the secondary style; on lines of their own
/// where they don't stand side by side. "Unknown" where there are none.
class SenderLine : public QWidget {
    Q_OBJECT

public:
    explicit SenderLine(QWidget* parent = nullptr);

    /// The label of the names.
    AddressLabel& names() const { return *m_names; }
    void setSender(const ShownSender& sender);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    bool isOneLine(int width) const;
    void layOut();

    AddressLabel* m_names;
    AddressLabel* m_addresses;
};

} // namespace Larkhaven
