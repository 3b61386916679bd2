#include "domain/LocalizedError.h"

#include <QCoreApplication>

#include <new>

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(LocalizedError)
};

} // namespace

QString localizedText(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const LocalizedError& error) {
        return error.localizedText();
    } catch (const std::bad_alloc&) {
        return Texts::tr("There is not enough memory.");
    } catch (...) {
        return Texts::tr("An unexpected error occurred.");
    }
}

} // namespace Larkhaven
