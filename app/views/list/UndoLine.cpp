#include "views/list/UndoLine.h"

#include "views/style/DisplayText.h"

#include <QPushButton>

using namespace Qt::StringLiterals;

namespace Larkhaven {

UndoLine::UndoLine(AppModel& model, QWidget* parent)
    : QuietLine(std::nullopt, tr("Undo"), parent)
    , m_model(model)
{
    setObjectName("undoLine"_L1);
    button().setObjectName("undo"_L1);
    connect(this, &QuietLine::clicked, this, [this] { m_model.start(m_model.undo()); });
    connect(&model, &AppModel::undoOfferChanged, this, &UndoLine::update);
    update();
}

void UndoLine::update()
{
    const std::optional<AppModel::UndoOffer>& offer = m_model.undoOffer();
    // The focus goes back to the list before its place is gone.
    if (!offer && button().hasFocus() && parentWidget())
        parentWidget()->setFocus();
    setText(offer ? DisplayText::bounded(offer->text) : QString());
    setVisible(offer.has_value());
}

} // namespace Larkhaven
