#pragma once

#include <QString>

#include <exception>

namespace Larkhaven {

/// A failure that can be told to the user. Every exception that the core throws on purpose derives from it.
class LocalizedError : public std::exception {
public:
    /// What the user reads. Never holds a secret or a piece of a message.
    virtual QString localizedText() const = 0;

    /// Whether nobody is on the other side of a connection any more that stood before: what the server has
    /// done of the command under way isn't known, and a new connection may serve. The text doesn't decide: a
    /// server's refusal may have the same words, and a translation has others.
    virtual bool isConnectionLost() const { return false; }
    /// Whether nothing is heard of the service: no connection stood, or it was lost.
    virtual bool isUnreachable() const { return isConnectionLost(); }

    const char* what() const noexcept override { return "Larkhaven::LocalizedError"; }
};

/// What the user reads about any failure; a general sentence for exceptions of other kinds. `failure` must
/// not be null.
QString localizedText(const std::exception_ptr& failure);

} // namespace Larkhaven
