#pragma once

#include "model/AppModel.h"

#include <QWidget>

namespace Larkhaven {

class MessageTable;

/// The listing of a mailbox: the table of its page and the pager below.
class MessageTableView : public QWidget {
    Q_OBJECT

public:
    explicit MessageTableView(AppModel& model, QWidget* parent = nullptr);

    MessageTable& table() const { return *m_table; }

Q_SIGNALS:
    /// The window for setting up an account is asked for.
    void setupRequested();

protected:
    /// The keyboard goes on to the table. With the table as focus proxy, Tab would go straight there as well,
    /// past the lines above it.
    void focusInEvent(QFocusEvent* event) override;

private:
    MessageTable* m_table;
};

} // namespace Larkhaven
