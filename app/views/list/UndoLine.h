#pragma once

#include "model/AppModel.h"
#include "views/style/QuietLine.h"

namespace Larkhaven {

/// "Archived." and "Undo", for as long as the model offers it. Takes no focus by itself.
class UndoLine : public QuietLine {
    Q_OBJECT

public:
    explicit UndoLine(AppModel& model, QWidget* parent = nullptr);

private:
    void update();

    AppModel& m_model;
};

} // namespace Larkhaven
