#pragma once

#include "views/style/EmptyState.h"

#include <QWidget>

namespace Larkhaven {

/// A pane that shows an `EmptyState`.
class EmptyStateView : public QWidget {
    Q_OBJECT

public:
    explicit EmptyStateView(QWidget* parent = nullptr);

    void setState(const EmptyState& state);
    const EmptyState& state() const { return m_state; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    EmptyState m_state{Symbol::tray, {}, {}};
};

} // namespace Larkhaven
