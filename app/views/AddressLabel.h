#pragma once

#include "domain/Message.h"

#include <QLabel>

namespace Larkhaven {

/// Shows addresses by their names, selectable and on as many lines as they take, up to a few. The addresses
/// themselves stand in the tooltip and are what Copy takes.
class AddressLabel : public QLabel {
    Q_OBJECT

public:
    explicit AddressLabel(QWidget* parent = nullptr);

    void setAddresses(const QList<EmailAddress>& addresses, const QString& placeholder);
    const QList<EmailAddress>& addresses() const { return m_addresses; }

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void copy();

    QList<EmailAddress> m_addresses;
};

} // namespace Larkhaven
