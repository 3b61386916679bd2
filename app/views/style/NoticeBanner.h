#pragma once

#include "views/style/WarningCard.h"

namespace Larkhaven {

/// One text with a warning symbol, and a button for what can be done about it.
class NoticeBanner : public WarningCard {
    Q_OBJECT

public:
    NoticeBanner(const QString& text, const QString& button, QWidget* parent = nullptr);
};

} // namespace Larkhaven
