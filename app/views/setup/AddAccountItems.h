#pragma once

#include "model/AppModel.h"

#include <functional>

class QMenu;

namespace Larkhaven::AddAccountItems {

/// Adds an item for each kind of account that can be added. `openSetup` opens the window that sets one up.
/// The menu must not outlive the model.
void fill(QMenu& menu, AppModel& model, const std::function<void()>& openSetup);

} // namespace Larkhaven::AddAccountItems
