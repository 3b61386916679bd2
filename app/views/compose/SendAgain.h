#pragma once

#include "model/AppModel.h"
#include "platform/Tasks.h"
#include "views/style/AlertTurn.h"

#include <exception>

class QWidget;

namespace Larkhaven::SendAgain {

/// What becomes of a text that may have gone out already.
enum class Decision {
    send,  ///< it goes out (again)
    close, ///< it has gone out, and its window is no longer needed
    stay,  ///< nothing happens
};

/// Asks the user in an alert of the window, which must be there. `look` is what the look into Sent has given.
Task<Decision> ask(Outcome<bool> look, QWidget* window, AlertTurn turn);

/// The attempt as which the draft goes out now: the one before, so that whoever has got the message already
/// sees the same one, or a new one where the text is another by now.
ComposeDraft::Attempt attempt(const AppModel& model, const ComposeDraft& draft);

/// Whether a sending that failed may have gone out all the same.
bool mayHaveGoneOut(const std::exception_ptr& failure);

} // namespace Larkhaven::SendAgain
