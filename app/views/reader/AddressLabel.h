#pragma once

#include "domain/Message.h"

#include <QLabel>

namespace Larkhaven {

/// What a label shows of addresses that an untrusted sender wrote. Both texts have passed `DisplayText`, and
/// hold the first `mostShown` addresses, with an ellipsis where there are more.
struct ShownAddresses {
    static constexpr qsizetype mostShown = 60;

    QString names;
    QString mailboxes;   ///< with their names
    QString copied;      ///< every address, with ", " between them
    qsizetype count = 0; ///< of the addresses, including those that aren't shown

    /// Pure, from any thread. Linear: there may be a million of them, so it is work for a worker.
    static ShownAddresses of(const QList<EmailAddress>& addresses);

    bool operator==(const ShownAddresses&) const = default;
};

/// Shows addresses by their names, selectable and on as many lines as they take, up to a few. The addresses
/// themselves stand in the tooltip and are what Copy takes.
class AddressLabel : public QLabel {
    Q_OBJECT

public:
    explicit AddressLabel(QWidget* parent = nullptr);

    /// Shows the placeholder where there are none.
    void setAddresses(const ShownAddresses& addresses, const QString& placeholder);

public Q_SLOTS:
    /// Copies all addresses, or what is selected of the placeholder.
    void copy();

protected:
    bool event(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QString m_copied;
};

} // namespace Larkhaven
