#pragma once

#include "domain/MailError.h"
#include "domain/MailProvider.h"
#include "support/Place.h"
#include "support/WaitUntil.h"

#include <exception>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <type_traits>
#include <variant>

namespace Larkhaven {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr std::chrono::seconds longestTask(200);
#else
inline constexpr std::chrono::seconds longestTask(40);
#endif

/// A task that a test has begun, and what becomes of it. It runs on whether or not it is waited for.
template <typename T>
class Begun {
public:
    explicit Begun(Task<T> task)
        : m_outcome(std::make_shared<Outcome>())
    {
        observe(std::move(task), m_outcome);
    }

    bool isDone() const { return m_outcome->value || m_outcome->failure; }

    /// Handles events until the task ends, and gives its result or throws its failure.
    T get()
    {
        // A task that never ends is a bug of the code under test; a test must tell it and not hang.
        if (!waitUntil([this] { return isDone(); }, longestTask))
            throw std::runtime_error("the task didn't end");
        if (m_outcome->failure)
            std::rethrow_exception(m_outcome->failure);
        if constexpr (!std::is_void_v<T>)
            return *m_outcome->value;
    }

private:
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;
    struct Outcome {
        std::optional<Value> value;
        std::exception_ptr failure;
    };

    static Task<> observe(Task<T> task, std::shared_ptr<Outcome> outcome)
    {
        try {
            if constexpr (std::is_void_v<T>) {
                co_await task;
                outcome->value.emplace();
            } else {
                auto value = co_await task;
                outcome->value.emplace(std::move(value));
            }
        } catch (...) {
            outcome->failure = std::current_exception();
        }
    }

    std::shared_ptr<Outcome> m_outcome;
};

/// Handles events until the task ends; its result or its failure.
template <typename T>
T await(Task<T> task)
{
    return Begun<T>(std::move(task)).get();
}

/// The task must fail with this case of `MailError` and this payload.
template <typename T>
void expectMailError(Task<T> task, MailError::Kind kind, const QString& text = {},
                     const Place& where = Place::current())
{
    const int line = where.line;
    try {
        await(std::move(task));
        ADD_FAILURE_AT(where.file, line) << "nothing failed";
    } catch (const MailError& error) {
        if (error.kind() != kind || error.text() != text)
            ADD_FAILURE_AT(where.file, line)
                << "failed as case " << static_cast<int>(error.kind()) << " with \""
                << error.text().toStdString() << "\", not as case " << static_cast<int>(kind) << " with \""
                << text.toStdString() << '"';
    } catch (const LocalizedError& error) {
        ADD_FAILURE_AT(where.file, line)
            << "failed with another error: " << error.localizedText().toStdString();
    } catch (const std::exception& error) {
        ADD_FAILURE_AT(where.file, line) << "failed with another error: " << error.what();
    }
}

template <typename T>
void expectProtocolError(Task<T> task, const QString& text, const Place& where = Place::current())
{
    expectMailError(std::move(task), MailError::Kind::protocolError, text, where);
}

template <typename T>
void expectUnsupported(Task<T> task, const QString& text, const Place& where = Place::current())
{
    expectMailError(std::move(task), MailError::Kind::unsupported, text, where);
}

} // namespace Larkhaven
