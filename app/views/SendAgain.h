#pragma once

#include "model/AppModel.h"

#include <QPointer>

class QWidget;

namespace Larkhaven::SendAgain {

/// What becomes of a text that may have gone out already.
enum class Decision {
    send,  ///< it goes out (again)
    close, ///< it has gone out, and its window is no longer needed
    stay,  ///< nothing happens
};

/// Looks for the message in Sent and asks the user, in an alert of the window; the answer is theirs. A text
/// that was never on its way is to be sent without a question.
Task<Decision> decide(QPointer<AppModel> model, ComposeDraft draft, QPointer<QWidget> window);

/// The attempt as which the draft goes out now: the one before, so that whoever has got the message already
/// sees the same one, or a new one where the text is another by now.
ComposeDraft::Attempt attempt(const AppModel& model, const ComposeDraft& draft);

/// Whether a sending that failed may have gone out all the same.
bool mayHaveGoneOut(const std::exception_ptr& failure);

} // namespace Larkhaven::SendAgain
