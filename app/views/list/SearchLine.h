#pragma once

#include "model/AppModel.h"
#include "views/style/QuietLine.h"

namespace Larkhaven {

/// Says over the list that it shows the results of a search, and clears it.
class SearchLine : public QuietLine {
    Q_OBJECT

public:
    explicit SearchLine(AppModel& model, QWidget* parent = nullptr);

private:
    void update();
    QString words() const;

    AppModel& m_model;
};

} // namespace Larkhaven
