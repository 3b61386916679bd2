#pragma once

#include "model/AppModel.h"

#include <QWidget>

class QVBoxLayout;

namespace Larkhaven {

/// A quiet strip for each account that couldn't be checked for news though nobody had asked for it, gone by
/// itself: "Can’t reach imap.example. Last checked 10:31." with "Try Again".
class CheckStrips : public QWidget {
    Q_OBJECT

public:
    explicit CheckStrips(AppModel& model, QWidget* parent = nullptr);

    /// What a strip says of a failure at that time.
    static QString textOf(const CheckResults::Failure& failure, const QDateTime& now);

private:
    void update();

    AppModel& m_model;
    QVBoxLayout* m_layout;
};

} // namespace Larkhaven
